// Basic scalar types of the whole program.
//
// Every index, count and bound is a signed 32-bit integer. The program's
// printf-style formats use "%i" for these, which matches `Long` exactly on
// every platform we build for (int32_t is int). Flags are unsigned char.
#pragma once

#include <cstdint>

using Long = std::int32_t;
using ULong = std::uint32_t;
using F64 = double;
using F32 = float;
using Bool8 = unsigned char;

static_assert(sizeof(Long) == 4, "Long must be 32 bits");
