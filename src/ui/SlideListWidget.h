// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QListWidget>
#include <filesystem>

#include "editing/EditContext.h"
#include "playback/SlideView.h"
#include "ui/Thumbs.h"

namespace mirrane {

/// ListView: the slides, each with its small picture, number, title and recorded length. Its rows and their selection are
/// those of the editor's table.
class SlideListWidget final : public QListWidget {
public:
    /// @param ctx outlives this
    explicit SlideListWidget(EditContext& ctx, QWidget* parent = nullptr);
    ~SlideListWidget() override;
    SlideListWidget(const SlideListWidget&) = delete;
    SlideListWidget& operator=(const SlideListWidget&) = delete;

    /// The table or MainForm has changed.
    void Refresh();
    /// The small pictures may have been made anew.
    void ReloadThumbs();
    /// Offers to capture a page, in the menu of the row of the slide that is one.
    /// @param slideView outlives this
    void OfferThumbnail(const QString& mnuThumbnail, SlideView& slideView);

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void FillRows();
    void ShowSelection();
    void TakeSelection();
    [[nodiscard]] std::filesystem::path ThumbOf(int row) const;

    EditContext& ctx_;
    Thumbs thumbs_;
    bool isStale_ = true;        ///< the table has changed since its rows were filled in
    bool isTakeWanted_ = false;  ///< TakeSelection is on its way
    QAction* mnuThumbnail_ = nullptr;
    SlideView* slideView_ = nullptr;
    int shown_ = 0;  ///< the current row that was scrolled to last
};

}  // namespace mirrane
