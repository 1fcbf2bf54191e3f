// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cubeb/cubeb.h>

#include <memory>

/// The sound server's handles. Each call on them lasts as long as the server likes, perhaps for ever.
namespace qv {

struct CloseCubeb {
    void operator()(cubeb* context) const { cubeb_destroy(context); }
};
using CubebContext = std::unique_ptr<cubeb, CloseCubeb>;

struct CloseCubebStream {
    void operator()(cubeb_stream* stream) const {
        cubeb_stream_stop(stream);
        cubeb_stream_destroy(stream);
    }
};
/// Nothing calls back any more when it is reset.
using CubebStream = std::unique_ptr<cubeb_stream, CloseCubebStream>;

/// Connects to the sound server.
/// @returns nullptr when there is none
[[nodiscard]] inline CubebContext ConnectToCubeb() {
    cubeb* context = nullptr;
    if (cubeb_init(&context, "Mirrane", nullptr) != CUBEB_OK) return nullptr;
    return CubebContext(context);
}

}  // namespace qv
