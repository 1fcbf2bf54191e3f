// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <utility>

#include "mkv/Reader.h"
#include "player/PictureFeeder.h"
#include "player/PictureTrack.h"
#include "player/Program.h"
#include "player/SoundFeeder.h"
#include "player/SoundLine.h"
#include "qvlib/IPlayer.h"

namespace qv {

namespace {

using std::filesystem::path;

/// What is seen at the same time.
enum View : std::size_t { kScreen, kCamera, kViews };

constexpr int kParts = kViews + 1;  ///< the sound, too

/// What the feeders have to say, kept until the player's thread asks for it.
class News {
public:
    /// From now on only this preparation counts.
    void Expect(std::uint64_t ticket) {
        const std::lock_guard lock(mutex_);
        ticket_ = ticket;
        partsReady_ = 0;
        pictures_ = {};
    }

    /// @returns whether everything is ready now
    bool PartIsReady(std::uint64_t ticket) {
        const std::lock_guard lock(mutex_);
        return ticket == ticket_ && ++partsReady_ == kParts;
    }

    /// @returns whether the player's thread must be told; otherwise it was, and has not come yet
    bool Put(std::uint64_t ticket, View view, ShownPicture picture) {
        const std::lock_guard lock(mutex_);
        if (ticket != ticket_) return false;
        const bool isFirst = !pictures_.at(view);
        pictures_.at(view) = std::move(picture);
        return isFirst;
    }

    std::optional<ShownPicture> Take(View view) {
        const std::lock_guard lock(mutex_);
        return std::exchange(pictures_.at(view), std::nullopt);
    }

private:
    std::mutex mutex_;
    std::uint64_t ticket_ = 0;
    int partsReady_ = 0;
    std::array<std::optional<ShownPicture>, kViews> pictures_;  ///< the latest that were not taken
};

/// Everything is prepared under a ticket: a place in a play list. What the feeders tell of an older ticket is stale.
///
///     Seek, Pause, Play of a new list -> Prepare -> all feeders are ready -> IsReady: the seek is told, the device runs
class Player : public IPlayer {
    using Handler = std::function<void(const ShownPicture&)>;

public:
    explicit Player(const PlayerOptions& options)
        : options_(options),
          steady_(MakeSteadySoundOut()),
          out_(steady_.get()),
          sound_(line_, SoundEvents()),
          pictures_{{PictureFeeder(PictureEvents(kScreen)), PictureFeeder(PictureEvents(kCamera))}} {}

    ~Player() override {
        if (isRunning_) out_.load()->Stop();
    }
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    bool Open(const path& media) override {
        Close();
        try {
            tracks_[kScreen] = std::make_shared<PictureTrack>(media, false, options_.log);
            const MkvReader reader(media);
            channels_ = reader.Sound() != nullptr && reader.Sound()->channels == 2 ? 2 : 1;
            if (reader.Camera() != nullptr)
                tracks_[kCamera] = std::make_shared<PictureTrack>(media, true, options_.log);
            return true;
        } catch (const std::exception& error) {
            Log(error.what());
            tracks_ = {};
            return false;
        }
    }

    void Close() override {
        StopDevice();
        state_ = PlayState::Stopped;
        position_ = 0;
        tracks_ = {};
        program_ = std::make_shared<Program>();
        nextProgram_.reset();
        isSeeking_ = false;
        ++session_;
        NewTicket();
        sound_.Prepare({});
        for (PictureFeeder& feeder : pictures_) feeder.Prepare({});
    }

    /// The pointer is part of the pictures in the files of this engine: there is nothing to draw it into.
    void SetCursorPicture(const path& /*picture*/) override {}

    [[nodiscard]] PictureDim PictureSize() const override {
        const auto& screen = tracks_[kScreen];
        return screen ? PictureDim{screen->Format().width, screen->Format().height} : PictureDim{};
    }

    void SetPlayList(const std::vector<path>& sources, std::span<const AudioRow> audioRows,
                     std::span<const FrameRow> frameRows) override {
        Program program{sources, {audioRows.begin(), audioRows.end()}, {frameRows.begin(), frameRows.end()}};
        const std::size_t heard = TilingRows(program.audioRows);
        const std::size_t seen = TilingRows(program.frameRows);
        if (heard < program.audioRows.size() || seen < program.frameRows.size())
            Log("the play list's rows are not in order: it is played as far as they are");
        program.audioRows.resize(heard);
        program.frameRows.resize(seen);
        nextProgram_ = std::make_shared<const Program>(std::move(program));
    }

    void Play() override {
        if (!tracks_[kScreen]) return;
        HeedEnd();
        if (isRunning_ && !nextProgram_) return;
        StopDevice();
        const bool isNew = TakeList();
        state_ = position_ < program_->Length() ? PlayState::Playing : PlayState::Paused;
        if (isNew || (!isReady_ && !isPreparing_)) {
            Prepare();
        } else if (isReady_) {
            StartDevice();
        }
    }

    void Pause() override { Halt(PlayState::Paused); }
    void Stop() override { Halt(PlayState::Stopped); }

    void Seek(Ms ms) override {
        HeedEnd();
        StopDevice();
        if (std::exchange(isSeeking_, true)) Post(session_, [this] { TellSeekFinished(); });
        TakeList();
        position_ = ms;
        Prepare();
    }

    void OnSeekFinished(std::function<void()> handler) override { onSeekFinished_ = std::move(handler); }

    void OnPicture(Handler handler) override { SetHandler(kScreen, std::move(handler)); }
    void OnCamera(Handler handler) override { SetHandler(kCamera, std::move(handler)); }

    [[nodiscard]] Ms Position() const override { return isRunning_ ? Now() : position_; }

    [[nodiscard]] PlayState State() const override { return isRunning_ && IsOver() ? PlayState::Paused : state_; }

private:
    // ---- on the player's thread ------------------------------------------------------------------

    /// Takes over what SetPlayList gave. @returns whether there was anything
    bool TakeList() {
        if (!nextProgram_) return false;
        program_ = std::exchange(nextProgram_, nullptr);
        return true;
    }

    void NewTicket() {
        ++ticket_;
        isReady_ = false;
        isPreparing_ = false;
        news_.Expect(ticket_);
    }

    /// Has picture and sound of position_ made ready. The device stands still.
    void Prepare() {
        NewTicket();
        isPreparing_ = true;
        sound_.Prepare({program_, position_, channels_, ticket_});
        for (const View view : {kScreen, kCamera}) pictures_[view].Prepare(PictureTask(view, position_));
    }

    [[nodiscard]] PictureFeeder::Task PictureTask(View view, Ms from) const {
        return {handlers_[view] ? tracks_[view] : nullptr, program_, from, ticket_};
    }

    void SetHandler(View view, Handler handler) {
        const bool isChange = static_cast<bool>(handler) != static_cast<bool>(handlers_[view]);
        handlers_[view] = std::move(handler);
        if (!isChange || !tracks_[view]) return;
        if (isPreparing_) return Prepare();
        if (isRunning_ || isReady_) pictures_[view].Prepare(PictureTask(view, Position()));
    }

    void IsReady(std::uint64_t ticket) {
        if (ticket != ticket_) return;
        isReady_ = true;
        isPreparing_ = false;
        if (state_ == PlayState::Playing) StartDevice();
        const std::weak_ptr<bool> lives = lives_;
        // A handler may end the player, or begin another seek, whose end is told by itself.
        for (const View view : {kScreen, kCamera})
            if (!lives.expired()) ShowNews(view);
        if (!lives.expired() && ticket == ticket_ && std::exchange(isSeeking_, false)) TellSeekFinished();
    }

    void ShowNews(View view) {
        const auto picture = news_.Take(view);
        const auto handler = handlers_[view];
        if (picture && handler) handler(*picture);
    }

    void TellSeekFinished() {
        const auto handler = onSeekFinished_;
        if (handler) handler();
    }

    void StartDevice() {
        if (position_ >= program_->Length()) {
            state_ = PlayState::Paused;
            return;
        }
        isReady_ = false;
        isRunning_ = true;
        const auto fill = [this](std::span<float> out) { return line_.Fill(out); };
        // Silence needs no device, and the picture of a list that has nothing else runs at once.
        out_ = options_.soundOut && !program_->IsSilent() ? options_.soundOut.get() : steady_.get();
        if (!out_.load()->Start(channels_, fill)) {
            Log("there is no sound device: what is played is not heard");
            out_ = steady_.get();
            out_.load()->Start(channels_, fill);
        }
        sound_.SetHeard(true);
        for (PictureFeeder& feeder : pictures_) feeder.SetPlaying(true);
    }

    void StopDevice() {
        if (!isRunning_) return;
        out_.load()->Stop();
        position_ = Now();
        isRunning_ = false;
        sound_.SetHeard(false);
        for (PictureFeeder& feeder : pictures_) feeder.SetPlaying(false);
    }

    void Halt(PlayState state) {
        HeedEnd();
        if (state_ == PlayState::Stopped && !isRunning_) return;
        state_ = state;
        if (!isRunning_) return;
        StopDevice();
        Prepare();
    }

    /// At the list's end it pauses by itself.
    void HeedEnd() {
        if (!isRunning_ || !IsOver()) return;
        StopDevice();
        state_ = PlayState::Paused;
        Prepare();
    }

    // ---- on any thread -----------------------------------------------------------------------------

    [[nodiscard]] Ms Now() const { return line_.HeardMs(out_.load()->Played()); }
    [[nodiscard]] bool IsOver() const { return line_.IsOver(out_.load()->Played()); }

    void Log(const std::string& line) const {
        if (options_.log) options_.log(line);
    }

    /// Runs a deed on the player's thread, unless the player is gone or has been closed by then.
    void Post(std::uint64_t session, std::function<void()> deed) const {
        options_.post([this, session, lives = std::weak_ptr<bool>(lives_), deed = std::move(deed)] {
            if (!lives.expired() && session == session_) deed();
        });
    }

    SoundFeeder::Events SoundEvents() {
        return {.ready = [this](std::uint64_t ticket) { PartIsReady(ticket); },
                .isOver = [this] { return IsOver(); },
                .over = [this](std::uint64_t) { Post(session_, [this] { HeedEnd(); }); },
                .log = options_.log};
    }

    PictureFeeder::Events PictureEvents(View view) {
        const auto show = [this, view](std::uint64_t ticket, ShownPicture picture) {
            if (news_.Put(ticket, view, std::move(picture))) Post(session_, [this, view] { ShowNews(view); });
        };
        return {.show = show,
                .ready = [this](std::uint64_t ticket) { PartIsReady(ticket); },
                .now = [this] { return Now(); },
                .log = options_.log};
    }

    void PartIsReady(std::uint64_t ticket) {
        if (news_.PartIsReady(ticket)) Post(session_, [this, ticket] { IsReady(ticket); });
    }

    const PlayerOptions options_;
    const std::shared_ptr<ISoundOut> steady_;
    std::atomic<ISoundOut*> out_;  ///< that of the options, or steady_ when it does not start
    const std::shared_ptr<bool> lives_ = std::make_shared<bool>(true);
    std::atomic<std::uint64_t> session_ = 0;  ///< counts Open and Close
    News news_;
    mutable SoundLine line_;

    std::array<std::shared_ptr<PictureTrack>, kViews> tracks_;  ///< no camera: nothing there
    SharedProgram program_ = std::make_shared<Program>();
    SharedProgram nextProgram_;  ///< from SetPlayList, until it is taken
    int channels_ = 1;
    PlayState state_ = PlayState::Stopped;
    Ms position_ = 0;         ///< while the device stands still
    bool isRunning_ = false;  ///< the device takes sound
    bool isPreparing_ = false;
    bool isReady_ = false;    ///< what was prepared last, and nothing of it was played
    bool isSeeking_ = false;  ///< a seek has to be told
    std::uint64_t ticket_ = 0;
    std::function<void()> onSeekFinished_;
    std::array<Handler, kViews> handlers_;

    SoundFeeder sound_;
    std::array<PictureFeeder, kViews> pictures_;
};

}  // namespace

std::unique_ptr<IPlayer> MakePlayer(const PlayerOptions& options) {
    if (!options.post) throw std::invalid_argument("a player needs a way to its user's thread");
    return std::make_unique<Player>(options);
}

}  // namespace qv
