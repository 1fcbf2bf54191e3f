// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/Icons.h"

#include <QFile>
#include <QIconEngine>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>
#include <array>
#include <memory>
#include <string_view>
#include <utility>

namespace mirrane {

namespace {

using Drawing = std::shared_ptr<QSvgRenderer>;

/// What is painted anew for each size, so that no scale blurs it.
class SharpEngine : public QIconEngine {
public:
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) final {
        QPixmap picture(size);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        paint(&painter, picture.rect(), mode, state);
        return picture;
    }
};

/// A drawing of the program's own.
class DrawingEngine final : public SharpEngine {
public:
    DrawingEngine(Drawing normal, Drawing disabled) : normal_(std::move(normal)), disabled_(std::move(disabled)) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State /*state*/) override {
        const Drawing& drawing = mode == QIcon::Disabled ? disabled_ : normal_;
        drawing->render(painter, rect);
    }

    [[nodiscard]] QIconEngine* clone() const override { return new DrawingEngine(normal_, disabled_); }

private:
    Drawing normal_;
    Drawing disabled_;
};

/// A symbol of the desktop's theme, filled with a colour.
class SymbolEngine final : public SharpEngine {
public:
    SymbolEngine(QIcon symbol, QColor normal, QColor disabled)
        : symbol_(std::move(symbol)), normal_(normal), disabled_(disabled) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State /*state*/) override {
        QPixmap filled = symbol_.pixmap(rect.size(), painter->device()->devicePixelRatioF());
        QPainter fill(&filled);
        fill.setCompositionMode(QPainter::CompositionMode_SourceIn);
        fill.fillRect(filled.rect(), mode == QIcon::Disabled ? disabled_ : normal_);
        fill.end();
        QRectF place(QPointF(), filled.deviceIndependentSize());
        place.moveCenter(QRectF(rect).center());
        painter->drawPixmap(place.topLeft(), filled);
    }

    [[nodiscard]] QIconEngine* clone() const override { return new SymbolEngine(symbol_, normal_, disabled_); }

private:
    QIcon symbol_;
    QColor normal_;
    QColor disabled_;
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

/// The name of what themes have in the place of a drawing.
struct ThemeName {
    const char* drawing;
    const char* symbol;
};
constexpr std::array<ThemeName, 13> kThemeNames = {{{"save", "document-save-symbolic"},
                                                    {"undo", "edit-undo-symbolic"},
                                                    {"redo", "edit-redo-symbolic"},
                                                    {"split", "edit-cut-symbolic"},
                                                    {"remove", "edit-delete-symbolic"},
                                                    {"volume", "audio-volume-high-symbolic"},
                                                    {"manual", "help-contents-symbolic"},
                                                    {"exit", "application-exit-symbolic"},
                                                    {"play", "media-playback-start-symbolic"},
                                                    {"pause", "media-playback-pause-symbolic"},
                                                    {"stop", "media-playback-stop-symbolic"},
                                                    {"prev", "media-skip-backward-symbolic"},
                                                    {"next", "media-skip-forward-symbolic"}}};

/// nullptr: the program's own drawing is used.
const char* SymbolOf(std::string_view drawing) {
    const char* symbol = nullptr;
    for (const ThemeName& row : kThemeNames) {
        if (!QIcon::hasThemeIcon(row.symbol)) return nullptr;
        if (row.drawing == drawing) symbol = row.symbol;
    }
    return symbol;
}

}  // namespace

QIcon Icons::Of(Control control, const QPalette& palette) const {
    const char* const drawing = DrawingOf(control);
    return drawing != nullptr ? Named(drawing, palette) : QIcon();
}

QIcon Icons::Named(const char* drawing, const QPalette& palette) const {
    const QColor normal = palette.color(QPalette::Active, QPalette::WindowText);
    const QColor disabled = palette.color(QPalette::Disabled, QPalette::WindowText);
    if (const char* symbol = SymbolOf(drawing))
        return QIcon(new SymbolEngine(QIcon::fromTheme(symbol), normal, disabled));
    const QByteArray svg = ReadDrawing(folder_, drawing);
    return IconOf(InColour(svg, normal), InColour(svg, disabled));
}

QIcon Icons::Application() const {
    const Drawing drawing = InColour(ReadDrawing(folder_, "app"), Qt::black);
    return IconOf(drawing, drawing);
}

}  // namespace mirrane
