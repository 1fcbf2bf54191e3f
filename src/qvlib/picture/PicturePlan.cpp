// SPDX-License-Identifier: GPL-3.0-or-later
#include "picture/PicturePlan.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <sstream>
#include <stdexcept>

namespace qv {

namespace {

/// What the timeline shows at its end so far.
struct Shown {
    Ms next = 0;         ///< the source time that would come next
    Ms last = 0;         ///< the source time whose picture stands there
    bool still = false;  ///< the picture stood still since `next` was reached
};

class Planner {
public:
    explicit Planner(std::span<const Ms> keys) : keys_(keys) {}

    void Add(const PicturePiece& piece) {
        if (piece.isHold) {
            AddHold(piece);
        } else {
            AddNormal(piece);
        }
    }

    std::vector<PictureStep> Take() { return std::move(steps_); }

private:
    using Kind = PictureStep::Kind;

    void AddHold(const PicturePiece& piece) {
        const bool stands = !steps_.empty() && shown_.last == piece.src && !piece.needsKey;
        if (!stands) steps_.push_back({Kind::Hold, piece.src, piece.src, piece.dst, piece.dstEnd});
        shown_ = Shown{piece.src + 1, piece.src, true};
    }

    void AddNormal(const PicturePiece& piece) {
        const bool goesOn = !steps_.empty() && shown_.next == piece.src && steps_.back().kind != Kind::Hold;
        const bool copies = goesOn && steps_.back().kind == Kind::Copy;
        if (copies && (IsKey(piece.src) || !piece.needsKey)) {
            GoOnCopying(piece);
        } else if (goesOn && !copies && !shown_.still && !IsKey(piece.src) && !piece.needsKey) {
            GoOnEncoding(piece);
        } else {
            Start(piece);
        }
        shown_ = Shown{piece.SrcEnd(), piece.SrcEnd() - 1, false};
    }

    void GoOnCopying(const PicturePiece& piece) {
        PictureStep& last = steps_.back();
        if (shown_.still) {
            steps_.push_back({Kind::Copy, piece.src, piece.SrcEnd(), piece.dst, piece.dstEnd, true});
        } else {
            last.srcTo = piece.SrcEnd();
            last.dstTo = piece.dstEnd;
        }
    }

    /// An encoded stretch goes on, up to the next key.
    void GoOnEncoding(const PicturePiece& piece) {
        PictureStep& last = steps_.back();
        const Ms encodeTo = std::min(NextKey(piece.src), piece.SrcEnd());
        last.srcTo = encodeTo;
        last.dstTo = piece.dst + (encodeTo - piece.src);
        CopyFrom(piece, encodeTo);
    }

    /// A stretch that does not follow from what stands before it.
    void Start(const PicturePiece& piece) {
        Ms copyFrom = piece.src;
        if (!IsKey(piece.src)) {
            copyFrom = std::min(NextKey(piece.src), piece.SrcEnd());
            steps_.push_back({Kind::Encode, piece.src, copyFrom, piece.dst, piece.dst + (copyFrom - piece.src)});
        }
        CopyFrom(piece, copyFrom);
    }

    void CopyFrom(const PicturePiece& piece, Ms src) {
        if (src < piece.SrcEnd())
            steps_.push_back({Kind::Copy, src, piece.SrcEnd(), piece.dst + (src - piece.src), piece.dstEnd});
    }

    [[nodiscard]] bool IsKey(Ms src) const { return std::ranges::binary_search(keys_, src); }

    [[nodiscard]] Ms NextKey(Ms src) const {
        const auto next = std::ranges::upper_bound(keys_, src);
        return next == keys_.end() ? std::numeric_limits<Ms>::max() : *next;
    }

    std::span<const Ms> keys_;
    std::vector<PictureStep> steps_;
    Shown shown_;  ///< nothing as long as there are no steps
};

std::string FaultOf(const FrameRow& row, Ms expectedPos) {
    const std::int64_t length = std::int64_t{row.posEnd} - row.pos;
    const std::int64_t srcLength = std::int64_t{row.srcPosEnd} - row.srcPos;
    if (row.pos != expectedPos) return "does not begin where the one before ends";
    if (length <= 0) return "has no length";
    if (row.srcPos < 0) return "has a negative source time";
    const bool isCut = length == 1 && srcLength > 1;
    if (srcLength != 0 && srcLength != length && !isCut) return "runs at another speed than its source";
    return {};
}

}  // namespace

PicturePiece ToPicturePiece(const FrameRow& row) {
    PicturePiece piece{row.pos, row.posEnd, row.srcPos, false, row.isSlideStart == 1};
    if (row.srcPos == row.srcPosEnd) {
        piece.isHold = true;
        piece.src = std::max(row.srcPos - 1, 0);
    } else if (row.srcPosEnd - row.srcPos != row.posEnd - row.pos) {
        piece.src = row.srcPosEnd - 1;
    }
    return piece;
}

void CheckFrameRows(std::span<const FrameRow> rows) {
    if (rows.empty()) throw std::invalid_argument("there are no frame rows");
    Ms pos = 0;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const std::string fault = FaultOf(rows[i], pos);
        if (!fault.empty()) throw std::invalid_argument("frame row " + std::to_string(i + 1) + " " + fault);
        pos = rows[i].posEnd;
    }
}

std::vector<PictureStep> PlanPicture(std::span<const FrameRow> rows, std::span<const Ms> sourceKeys) {
    Planner planner(sourceKeys);
    for (const FrameRow& row : rows) planner.Add(ToPicturePiece(row));
    return planner.Take();
}

std::string PicturePlanToText(std::span<const PictureStep> plan) {
    std::ostringstream text;
    for (const PictureStep& step : plan) {
        if (step.kind == PictureStep::Kind::Hold) {
            text << "hold " << step.srcFrom << " to " << step.dstFrom << '-' << step.dstTo << '\n';
            continue;
        }
        const bool copies = step.kind == PictureStep::Kind::Copy;
        text << (!copies ? "encode " : step.goesOn ? "go on " : "copy ");
        text << step.srcFrom << '-' << step.srcTo << " to " << step.dstFrom << '\n';
    }
    return text.str();
}

}  // namespace qv
