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
    : file_(QFile::decodeName(file.c_str()), QSettings::IniFormat) {}

std::optional<std::string> IniSettings::Get(const std::string& section, const std::string& key) {
    file_.sync();
    const QVariant value = file_.value(Name(section, key));
    if (!value.isValid()) return std::nullopt;
    // A comma in a value that another program wrote without quotes makes a list of it.
    return value.toStringList().join(", ").toStdString();
}

void IniSettings::Set(const std::string& section, const std::string& key, const std::string& value) {
    file_.setValue(Name(section, key), QString::fromStdString(value));
    file_.sync();
}

std::filesystem::path SettingsFile(IHost& host) { return InFolder(ConfigFolder(host), "Tallowin5.ini"); }

}  // namespace mirrane
