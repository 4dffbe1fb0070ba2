// Symbol visibility of the public API: everything else in the shared library
// is hidden.
#pragma once

#define CORV_EXPORT __attribute__((visibility("default")))
