// SPDX-License-Identifier: GPL-3.0-or-later
#include <CLI/CLI.hpp>
#include <iostream>

#include "Commands.h"
#include "Common.h"
#include "Edit.h"
#include "NewProject.h"
#include "ProjectInfo.h"
#include "Thumbnails.h"

namespace {

constexpr int kWrongUsage = 2;

using tool::Context;

/// What the commands take from the command line; lives as long as they run.
struct Arguments {
    std::string media;
    std::string target;
    bool whole = false;
    tool::PeaksArguments peaks;
    tool::ContainerArguments container;
    tool::NewArguments project;
    tool::EditArguments edit;
};

void AddProjectCommands(CLI::App& app, Context& context, Arguments& arguments, std::function<int()>& chosen) {
    auto& wanted = arguments.project;
    auto* making = app.add_subcommand("new", "Make a project of a recording (mp4, mkv, webm, mov, avi, wmv ...)");
    making->add_option("MEDIA", wanted.media, "The recording")->required();
    making->add_option("FOLDER", wanted.folder, "The project's folder; made when it is not there")->required();
    making->add_option(
        "--slides", wanted.slides,
        "Where the slides begin: a line \"TIME title\" each, TIME as 1:02:03.500, 2:03 or in ms. Without "
        "it: the recording's chapters, else where the slide changes in the picture");
    making
        ->add_option("--sensitivity", wanted.sensitivity,
                     "To changes of the picture: 0, nearly all of it must change, to 100, a word is enough")
        ->check(CLI::Range(0, 100))
        ->capture_default_str();
    making->add_option("--min-slide", wanted.minSlide, "ms; what stands for less in the picture is no slide")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    making->add_flag("--exact", wanted.exact, "Let no slide's start move to a keyframe that is up to 100 ms away");
    making->add_option("--camera", wanted.camera, "A second recording whose picture becomes the camera");
    making->add_option("--bitrate", wanted.bitrateKbit, "Of the sound, in kbit/s")
        ->check(CLI::Range(6, 510))
        ->capture_default_str();
    making->add_option("--title", wanted.title, "Without it: the recording's title, else the folder's name");
    making->callback([&] { chosen = [&] { return tool::New(context, wanted); }; });

    auto* demo = app.add_subcommand("demo", "Make the demonstration project");
    demo->add_option("FOLDER", arguments.target, "The project's folder; made when it is not there")->required();
    demo->callback([&] { chosen = [&] { return tool::Demo(context, arguments.target); }; });

    auto* info = app.add_subcommand("info", "Tell what a project is and holds");
    info->add_option("FOLDER", arguments.target, "The project's folder")->required();
    info->callback([&] { chosen = [&] { return tool::Info(context, arguments.target); }; });

    auto* thumbs = app.add_subcommand("thumbs", "Make the slides' small pictures again");
    thumbs->add_option("FOLDER", arguments.target, "The project's folder")->required();
    thumbs->callback([&] { chosen = [&] { return tool::Thumbs(context, arguments.target); }; });
}

void AddReadingCommands(CLI::App& app, Context& context, Arguments& arguments, std::function<int()>& chosen) {
    auto* keys = app.add_subcommand("keys", "List the times of a media file's keyframes, in ms, one a line");
    keys->add_option("MEDIA", arguments.media, "A media file, or a folder that holds media.qv")->required();
    keys->callback([&] { chosen = [&] { return tool::Keys(context, arguments.media); }; });

    auto* verify =
        app.add_subcommand("verify", "Check whether a media file is sound, and a project in itself; changes nothing");
    verify->add_option("MEDIA", arguments.media, "A media file, or a project's folder")->required();
    verify->add_flag("--whole", arguments.whole, "Read and check every byte instead of head, index and length");
    verify->callback([&] { chosen = [&] { return tool::Verify(context, arguments.media, arguments.whole); }; });

    auto* peaks = app.add_subcommand("peaks", "List the sound's peaks, one for each 64 ms, 0 to 32767, one a line");
    peaks->add_option("FILE", arguments.peaks.media, "A media file, a .qva, or a folder that holds media.qv")
        ->required();
    peaks->add_option("--start", arguments.peaks.start, "Where to begin, in ms")->check(CLI::NonNegativeNumber);
    peaks->add_option("--end", arguments.peaks.end, "Where to end, in ms; the file's end without it")
        ->check(CLI::NonNegativeNumber);
    peaks->callback([&] { chosen = [&] { return tool::Peaks(context, arguments.peaks); }; });
}

void AddMakingCommands(CLI::App& app, Context& context, Arguments& arguments, std::function<int()>& chosen) {
    auto* importing = app.add_subcommand("import", "Convert the sound of any audio or video file to a .qva");
    importing->add_option("FILE", arguments.media, "The file to convert")->required();
    importing->add_option("TARGET", arguments.target, "The .qva to write")->required();
    importing->callback([&] { chosen = [&] { return tool::Import(context, arguments.media, arguments.target); }; });

    auto* mix = app.add_subcommand("mix", "Write the media.qv that the rows of a play list mean");
    mix->add_option("PLAYLIST", arguments.media, "A play list; relative paths in it start at its own folder")
        ->required();
    mix->add_option("OUTFOLDER", arguments.target, "The folder that media.qv is written to")->required();
    mix->callback([&] { chosen = [&] { return tool::Mix(context, arguments.media, arguments.target); }; });

    auto& wanted = arguments.container;
    auto* container =
        app.add_subcommand("container", "Make a media file of a recording (mp4, mkv, webm, mov, avi, wmv ...)");
    container->add_option("RECORDING", wanted.recording, "The recording")->required();
    container->add_option("TARGET", wanted.target, "The media file to write")->required();
    container->add_option("--key", wanted.keys, "Times in ms at which a keyframe is needed")->delimiter(',');
    container->add_flag("--find-slides", wanted.findSlides,
                        "Find the slides in the picture; each begins with a keyframe");
    container->add_option("--camera", wanted.camera, "A second recording whose picture becomes the camera");
    container->add_option("--bitrate", wanted.bitrateKbit, "Of the sound, in kbit/s")->check(CLI::Range(6, 510));
    container->callback([&] { chosen = [&] { return tool::Container(context, wanted); }; });
}

void AddEditCommand(CLI::App& app, Context& context, Arguments& arguments, std::function<int()>& chosen) {
    auto& wanted = arguments.edit;
    auto* edit = app.add_subcommand("edit", "Edit a project by a script, as its window would; prints JSON");
    edit->add_option("FOLDER", wanted.folder, "The project's folder")->required();
    edit->add_option("SCRIPT", wanted.script, "A file with one command a line; standard input without it");
    edit->add_flag("--direct", wanted.direct, "Open as the editor opens a path of its command line: checked quickly");
    edit->add_flag("--keep-going", wanted.keepGoing, "Go on behind an unknown command or a wrong argument");
    edit->callback([&] { chosen = [&] { return tool::Edit(context, wanted); }; });
}

int Run(int argc, char** argv) {
    CLI::App app("Makes, reads and changes recorded lectures without a window.", "qvtool");
    app.set_version_flag("--version", "qvtool " MIRRANE_VERSION);
    app.require_subcommand(1);
    app.fallthrough();
    Context context;
    Arguments arguments;
    std::function<int()> chosen;
    app.add_flag("--json", context.json, "Print the result as JSON");
    app.add_option("--audio-bitrate", context.bitrateKbit, "kbit/s of sound that must be encoded")
        ->check(CLI::Range(6, 510));
    AddProjectCommands(app, context, arguments, chosen);
    AddReadingCommands(app, context, arguments, chosen);
    AddMakingCommands(app, context, arguments, chosen);
    AddEditCommand(app, context, arguments, chosen);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kWrongUsage;
    }
    return chosen();
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const tool::AlreadyTold&) {
        return 1;
    } catch (const std::filesystem::filesystem_error& error) {
        std::cerr << "qvtool: " << error.path1().string() << ": " << error.code().message() << '\n';
    } catch (const std::exception& error) {
        std::cerr << "qvtool: " << error.what() << '\n';
    } catch (...) {
        std::cerr << "qvtool: failed for an unknown reason\n";
    }
    return 1;
}
