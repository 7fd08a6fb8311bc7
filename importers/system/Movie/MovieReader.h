// The one function of the module MovieReader.so, which the bundle loads for the first file that it is asked for.
#pragma once

#include "importers/system/support/Attributes.h"

/// Reads a movie into the attributes; false when the file is none. The module and the bundle are built together: the
/// number changes with what is handed over.
extern "C" __attribute__((visibility("default"))) bool quarry_movie_reader_1(quarry::support::Attributes* attributes,
                                                                             const char* path) noexcept;
