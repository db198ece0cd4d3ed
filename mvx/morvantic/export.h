#pragma once

/// Marks what libmorvantic exports; everything else in it is hidden.
#define MV_API __attribute__((visibility("default")))
