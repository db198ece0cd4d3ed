#pragma once

/// @file
/// How the public headers are marked. Hosts need none of it for themselves.

/// Marks what libmorvantic exports; everything else in it is hidden.
#define MV_API __attribute__((visibility("default")))

/// Keeps a private operation of an exported class inside libmorvantic.
#define MV_LOCAL __attribute__((visibility("hidden")))

static_assert(sizeof(wchar_t) == 4,
              "build without -fshort-wchar: wide text is Unicode code points");
