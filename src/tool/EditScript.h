// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <unistd.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "EditSession.h"

namespace tool {

/// A line of a script that means nothing: an unknown command, or arguments that it does not take.
struct WrongUse : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The words of a line, parted by blanks; double quotes hold blanks.
///
///     place "new take.qva" 12800 push    ->    place|new take.qva|12800|push
///
/// @throws WrongUse when a quote is not closed
[[nodiscard]] std::vector<std::string> WordsOf(const std::string& line);

/// The lines of a script. Whoever writes to standard input may do so line by line, after having read what came of the one
/// before: nothing blocks while the next one is waited for.
class ScriptLines {
public:
    /// @param file empty: standard input. @throws std::runtime_error when it cannot be read
    explicit ScriptLines(const std::filesystem::path& file);
    ~ScriptLines();
    ScriptLines(const ScriptLines&) = delete;
    ScriptLines& operator=(const ScriptLines&) = delete;

    /// The next line that is neither blank nor a comment; nothing at the end.
    /// @param meanwhile called again and again while none is there
    [[nodiscard]] std::optional<std::string> Next(const std::function<void()>& meanwhile);
    /// Of the line that came last, from 1.
    [[nodiscard]] int Number() const { return number_; }
    [[nodiscard]] const std::string& Name() const { return name_; }

private:
    void Read(const std::function<void()>& meanwhile);

    std::string name_;
    int descriptor_ = STDIN_FILENO;
    std::string rest_;
    bool isAtEnd_ = false;
    int number_ = 0;
};

enum class OnError { Stop, GoOn };

/// Opens the project and runs the script on it: each command prints one JSON object on one line. Answers at the script's
/// beginning are queued before the project is opened.
/// @returns the exit status
[[nodiscard]] int RunScript(EditSession& session, ScriptLines& lines, OnError onError,
                            const std::function<bool()>& open);

}  // namespace tool
