// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/IniSettings.h"

#include <QFile>
#include <QString>
#include <QStringList>
#include <QVariant>

#include "base/Disk.h"

namespace mirrane {

namespace {

QString Name(const std::string& section, const std::string& key) { return QString::fromStdString(section + "/" + key); }

}  // namespace

IniSettings::IniSettings(const std::filesystem::path& file)
    : file_(QFile::decodeName(file.c_str()), QSettings::IniFormat) {
    writer_.setMaxThreadCount(1);  // writes are in their order
}

std::optional<std::string> IniSettings::Get(const std::string& section, const std::string& key) {
    Flush();
    file_.sync();
    const QVariant value = file_.value(Name(section, key));
    if (!value.isValid()) return std::nullopt;
    // A comma in a value that another program wrote without quotes makes a list of it.
    return value.toStringList().join(", ").toStdString();
}

void IniSettings::Set(const std::string& section, const std::string& key, const std::string& value) {
    writer_.start([path = file_.fileName(), name = Name(section, key), text = QString::fromStdString(value)] {
        QSettings file(path, QSettings::IniFormat);
        file.setValue(name, text);
        file.sync();
    });
}

void IniSettings::Flush() { writer_.waitForDone(); }

std::filesystem::path SettingsFile(IHost& host) { return InFolder(ConfigFolder(host), "Tallowin5.ini"); }

}  // namespace mirrane
