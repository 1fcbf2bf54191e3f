#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
#
# A house of three rooms, built with the real qv_room: includes of rooms that are named compile and the whole links,
# an include of a room that is not named does not compile, a room cannot use one that stands above it.
#
#     tests/check-rooms.sh CMAKE COMPILER SCRATCH
set -euo pipefail
cmake=$1 compiler=$2
module=$(realpath "$(dirname "${BASH_SOURCE[0]}")/../cmake/QvRoom.cmake")
house=$(mktemp -d "$3/rooms.XXXXXX")
trap 'rm -rf "$house"' EXIT
mkdir "$house"/{low,middle,top,stray,early}
cd "$house"

cat >CMakeLists.txt <<END
cmake_minimum_required(VERSION 3.25)
project(House LANGUAGES CXX)
include("$module")
if(EARLY)
    qv_room(early USES low)
endif()
qv_room(low)
qv_room(middle USES low)
qv_room(stray USES middle)
add_executable(top top/main.cpp)
target_link_libraries(top PRIVATE middle)
END
echo 'int Low();' >low/Low.h
printf '#include "low/Low.h"\nint Low() { return 7; }\n' >low/Low.cpp
echo 'int Middle();' >middle/Middle.h
printf '#include "middle/Middle.h"\n#include "low/Low.h"\nint Middle() { return Low(); }\n' >middle/Middle.cpp
printf '#include "middle/Middle.h"\nint main() { return Middle() == 7 ? 0 : 1; }\n' >top/main.cpp
printf '#include "middle/Middle.h"\n#include "low/Low.h"\nint Stray() { return Middle() + Low(); }\n' >stray/Stray.cpp
cp low/Low.cpp early/Early.cpp

fail() {
    echo "$1"
    cat log
    exit 1
}

export LC_ALL=C
"$cmake" -G Ninja -S . -B build -DCMAKE_CXX_COMPILER="$compiler" >log 2>&1 || fail 'The house does not configure:'
"$cmake" --build build --target top >log 2>&1 || fail 'A house without a wrong include does not build:'
build/top || fail 'The rooms of the house are not linked to one another:'

if "$cmake" --build build --target stray >log 2>&1; then
    fail 'An include of a room that is not named compiles:'
fi
grep -q 'low/Low\.h.*\(No such file\|file not found\)' log || fail 'The wrong include fails for another reason:'

if "$cmake" -DEARLY=ON build >log 2>&1; then
    fail 'A room uses one that stands above it:'
fi
grep -q 'the room low is not declared' log || fail 'The wrong order fails for another reason:'
