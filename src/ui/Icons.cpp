// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/Icons.h"

#include <QFile>
#include <QIconEngine>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>
#include <array>
#include <memory>
#include <utility>

namespace mirrane {

namespace {

using Drawing = std::shared_ptr<QSvgRenderer>;

/// A drawing that is rendered anew for each size, so that no scale blurs it.
class DrawingEngine final : public QIconEngine {
public:
    DrawingEngine(Drawing normal, Drawing disabled) : normal_(std::move(normal)), disabled_(std::move(disabled)) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State /*state*/) override {
        const Drawing& drawing = mode == QIcon::Disabled ? disabled_ : normal_;
        drawing->render(painter, rect);
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap picture(size);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        paint(&painter, picture.rect(), mode, state);
        return picture;
    }

    [[nodiscard]] QIconEngine* clone() const override { return new DrawingEngine(normal_, disabled_); }

private:
    Drawing normal_;
    Drawing disabled_;
};

QByteArray ReadDrawing(const std::filesystem::path& folder, const char* name) {
    QFile file(QString::fromStdString((folder / "icons" / name).string() + ".svg"));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// @param svg draws in "currentColor"
Drawing InColour(QByteArray svg, const QColor& colour) {
    Drawing drawing = std::make_shared<QSvgRenderer>(svg.replace("currentColor", colour.name().toLatin1()));
    drawing->setAspectRatioMode(Qt::KeepAspectRatio);
    return drawing;
}

QIcon IconOf(const Drawing& normal, const Drawing& disabled) {
    return normal->isValid() ? QIcon(new DrawingEngine(normal, disabled)) : QIcon();
}

/// nullptr: the control has no picture.
const char* DrawingOf(Control control) {
    struct Row {
        Control control;
        const char* drawing;
    };
    constexpr std::array<Row, 14> kRows = {{{Control::Save, "save"},
                                            {Control::Undo, "undo"},
                                            {Control::Redo, "redo"},
                                            {Control::Exit, "exit"},
                                            {Control::cmdPlay, "play"},
                                            {Control::cmdStop, "stop"},
                                            {Control::cmdPrev, "prev"},
                                            {Control::cmdNext, "next"},
                                            {Control::cmdImportAudio, "import"},
                                            {Control::cmdRecAudio, "record"},
                                            {Control::cmdVolUp, "volume-up"},
                                            {Control::cmdVolDown, "volume-down"},
                                            {Control::cmdZoomIn, "zoom-in"},
                                            {Control::cmdZoomOut, "zoom-out"}}};
    for (const Row& row : kRows)
        if (row.control == control) return row.drawing;
    return nullptr;
}

}  // namespace

QIcon Icons::Of(Control control, const QPalette& palette) const {
    const char* const drawing = DrawingOf(control);
    return drawing != nullptr ? Load(drawing, palette) : QIcon();
}

QIcon Icons::Pause(const QPalette& palette) const { return Load("pause", palette); }

QIcon Icons::Application() const {
    const Drawing drawing = InColour(ReadDrawing(folder_, "app"), Qt::black);
    return IconOf(drawing, drawing);
}

QIcon Icons::Load(const char* name, const QPalette& palette) const {
    const QByteArray svg = ReadDrawing(folder_, name);
    return IconOf(InColour(svg, palette.color(QPalette::Active, QPalette::WindowText)),
                  InColour(svg, palette.color(QPalette::Disabled, QPalette::WindowText)));
}

}  // namespace mirrane
