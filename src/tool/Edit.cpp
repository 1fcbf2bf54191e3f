// SPDX-License-Identifier: GPL-3.0-or-later
#include "Edit.h"

#include "EditScript.h"
#include "EditSession.h"

namespace tool {

int Edit(const Context& context, const EditArguments& arguments) {
    ScriptLines lines(arguments.script);
    EditSession session(context);
    return RunScript(session, lines, arguments.keepGoing ? OnError::GoOn : OnError::Stop, [&] {
        return session.Open(arguments.folder, arguments.direct ? Opening::Direct : Opening::AsStartPage);
    });
}

}  // namespace tool
