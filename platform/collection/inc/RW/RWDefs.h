// RW/RWDefs.h: basic types and constants of the collection library.
#pragma once

#include <cstddef>

// Class identifier returned by RWCollectable::isA().
typedef unsigned short RWClassID;
// Byte counts of RWCollectable::binaryStoreSize().
typedef unsigned RWspace;

// "No position": returned by the index() members when nothing matches.
inline constexpr size_t RW_NPOS = static_cast<size_t>(-1);

// isA() of a plain RWCollectable.
inline constexpr RWClassID RW_COLLECTABLE_ID = 0x8000;
