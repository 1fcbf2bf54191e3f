// SPDX-License-Identifier: GPL-3.0-or-later
#include "EditScript.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <iostream>

#include "EditCommands.h"
#include "base/Disk.h"
#include "base/Text.h"

namespace tool {

namespace {

constexpr int kWrongUsage = 2;
constexpr std::chrono::milliseconds kListenStep{10};
constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";

bool IsBlank(char letter) { return letter == ' ' || letter == '\t' || letter == '\r'; }

/// What became of one line.
enum class Outcome { Ran, WrongUse };

class ScriptRun {
public:
    ScriptRun(EditSession& session, ScriptLines& lines, OnError onError)
        : session_(session), lines_(lines), onError_(onError) {}

    int Run(const std::function<bool()>& open) {
        while (Fetch() && WordsNow().front() == kAnswer)
            if (Do() == Outcome::WrongUse && onError_ == OnError::Stop) return kWrongUsage;
        const bool isOpen = open();
        TellOpening();
        if (!isOpen) return kFailed;
        int status = kDone;
        for (; line_ && !session_.IsClosed(); Fetch()) {
            if (Do() == Outcome::Ran || onError_ == OnError::GoOn) continue;
            status = kWrongUsage;
            break;
        }
        return Leave(status);
    }

private:
    static constexpr char kAnswer[] = "answer";

    bool Fetch() {
        line_ = lines_.Next([this] { session_.RunFor(kListenStep); });
        return line_.has_value();
    }

    /// Of the line at hand, for a look at its first word.
    [[nodiscard]] std::vector<std::string> WordsNow() const {
        try {
            return WordsOf(*line_);
        } catch (const WrongUse&) {
            return {*line_};
        }
    }

    Outcome Do() {
        Outcome outcome = Outcome::Ran;
        session_.running = {{"cmd", WordsNow().front()}, {"ok", true}};
        try {
            RunCommand(session_, WordsOf(*line_));
        } catch (const WrongUse& error) {
            std::cerr << "qvtool: " << lines_.Name() << ": line " << lines_.Number() << ": " << error.what() << '\n';
            Fail(error.what());
            outcome = Outcome::WrongUse;
        } catch (const std::exception& error) {
            Fail(mirrane::ErrorText(error));
        }
        session_.Settle();
        if (Json messages = session_.user.TakeMessages(); !messages.empty())
            session_.running["messages"] = std::move(messages);
        if (!PrintNow(session_.running) && !session_.IsClosed()) session_.Abandon();
        session_.running = nullptr;
        return outcome;
    }

    void Fail(const std::string& reason) {
        session_.running["ok"] = false;
        session_.running["reason"] = reason;
    }

    /// There is no command that what was told while the project was opened could belong to.
    void TellOpening() {
        for (const auto& message : session_.user.TakeMessages())
            std::cerr << "qvtool: " << mirrane::ReplaceAll(message["text"].get<std::string>(), "\n", " ") << '\n';
    }

    /// What was not saved is dropped, even if the script's answers would keep the editor open.
    int Leave(int status) {
        while (!session_.IsClosed() && !session_.Close()) session_.Settle();
        return status;
    }

    EditSession& session_;
    ScriptLines& lines_;
    OnError onError_;
    std::optional<std::string> line_;
};

}  // namespace

std::vector<std::string> WordsOf(const std::string& line) {
    std::vector<std::string> words;
    bool isQuoted = false;
    bool isInWord = false;
    for (const char letter : line) {
        const bool parts = !isQuoted && IsBlank(letter);
        if (!parts && !isInWord) words.emplace_back();
        isInWord = !parts;
        if (letter == '"') {
            isQuoted = !isQuoted;
        } else if (!parts) {
            words.back() += letter;
        }
    }
    if (isQuoted) throw WrongUse("a double quote is not closed");
    return words;
}

ScriptLines::ScriptLines(const std::filesystem::path& file) : name_(file.empty() ? "standard input" : file.string()) {
    if (file.empty()) return;
    descriptor_ = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor_ < 0 || is_directory(file)) throw std::runtime_error(name_ + ": cannot be read");
}

ScriptLines::~ScriptLines() {
    if (descriptor_ > STDIN_FILENO) close(descriptor_);
}

std::optional<std::string> ScriptLines::Next(const std::function<void()>& meanwhile) {
    for (;;) {
        const std::size_t end = rest_.find('\n');
        if (end == std::string::npos && !isAtEnd_) {
            Read(meanwhile);
            continue;
        }
        if (rest_.empty()) return std::nullopt;
        std::string line = rest_.substr(0, end);
        rest_.erase(0, end == std::string::npos ? end : end + 1);
        if (++number_ == 1 && line.starts_with(kByteOrderMark)) line.erase(0, sizeof kByteOrderMark - 1);
        line = mirrane::Trim(line);
        if (!line.empty() && line.front() != '#') return line;
    }
}

void ScriptLines::Read(const std::function<void()>& meanwhile) {
    pollfd waiting{.fd = descriptor_, .events = POLLIN, .revents = 0};
    if (poll(&waiting, 1, 0) <= 0) {
        meanwhile();
        return;
    }
    std::array<char, 4096> bytes{};
    const ssize_t count = read(descriptor_, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) return;
    if (count < 0) throw std::runtime_error(name_ + ": cannot be read");
    rest_.append(bytes.data(), static_cast<std::size_t>(count));
    isAtEnd_ = count == 0;
}

int RunScript(EditSession& session, ScriptLines& lines, OnError onError, const std::function<bool()>& open) {
    return ScriptRun(session, lines, onError).Run(open);
}

}  // namespace tool
