// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/SoundServer.h"

#include <csignal>
#include <cstdlib>

#include "support/Basics.h"

namespace support {

SoundServer::SoundServer()
    : folder_(mkdtemp(name_.data())),
      shell_("export HOME=" + folder_.string() + " XDG_RUNTIME_DIR=" + folder_.string() + "; ") {
    setenv("PULSE_SERVER", ("unix:" + (folder_ / "pulse/native").string()).c_str(), 1);
    setenv("ALSA_CONFIG_PATH", "/dev/null", 1);
}

SoundServer::~SoundServer() {
    Signal(SIGKILL);
    std::filesystem::remove_all(folder_);
}

bool SoundServer::Begin(const std::string& modules) {
    server_ = std::stoi(Output(shell_ + "pulseaudio -n " + modules +
                               " --load='module-native-protocol-unix auth-anonymous=1' --exit-idle-time=-1 "
                               "--use-pid-file=no >/dev/null 2>&1 & echo $!"));
    const auto answers = shell_ + "timeout 5 sh -c 'until pactl info; do sleep .02; done' >/dev/null 2>&1";
    return std::system(answers.c_str()) == 0;
}

int SoundServer::Signal(int signal) const { return server_ > 0 ? kill(server_, signal) : 0; }

}  // namespace support
