#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
#
# The rules that no compiler checks. Prints each culprit; fails when there is one.
#
#     tests/check-house.sh [FOLDER]      FOLDER: the source tree to look at, otherwise the one this script lies in
set -euo pipefail
cd "${1:-$(dirname "${BASH_SOURCE[0]}")/..}"

# Every file of the tree, as NUL-ended paths; what is built or belongs to git is not part of it.
tree() {
    find . \( -path './.git' -o -path './build*' -o -name __pycache__ \) -prune -o -type f -print0
}

is_source() {
    case $1 in
        *.cpp | *.h | *.sh | *.py | *.cmake | */CMakeLists.txt) return 0 ;;
    esac
    # Programs without a suffix.
    [[ ${1##*/} != *.* && $(head -c 2 "$1" | tr -d '\0') == '#!' ]]
}

without_licence() {
    local file
    while IFS= read -r -d '' file; do
        if is_source "$file" && ! head -n 5 "$file" | grep -q 'SPDX-License-Identifier: GPL-3\.0-or-later'; then
            echo "$file"
        fi
    done < <(tree)
}

# includes PATTERN ALLOWED: the include lines that match PATTERN, except those in files that match ALLOWED.
includes() {
    tree | { grep -zE '\.(cpp|h)$' || true; } |
        { xargs -0 -r grep -nHE "^[[:space:]]*#[[:space:]]*include[[:space:]]*$1" || true; } |
        { grep -vE "^\./($2)" || true; }
}

found=0

# report TITLE CULPRITS
report() {
    if [[ -n $2 ]]; then
        printf '%s\n%s\n\n' "$1" "$2"
        found=1
    fi
}

culprits=$(without_licence)
report 'No line "SPDX-License-Identifier: GPL-3.0-or-later" among the first five:' "$culprits"

culprits=$(includes '[<"](libav[a-z]+/|libsw[a-z]+/|opus[a-z_]*[/.]|libdeflate\.h)' '(src|tests)/qvlib/|tests/support/')
report 'Codec headers belong to src/qvlib alone:' "$culprits"

culprits=$(includes '<(Q[A-Za-z0-9]+(/[A-Za-z0-9]+)?|q[a-z0-9]+\.h)>' '(src|tests)/(ui|app|web)/|benchmarks/Paint')
report 'Qt headers belong to src/ui, src/web and src/app alone:' "$culprits"

culprits=$(includes '"([^"]*/)?\.\./' 'none/')
report 'An include that climbs with ".." passes by the doors of the rooms:' "$culprits"

exit "$found"
