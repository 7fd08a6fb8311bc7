// Movies that tests make.
#pragma once

#include <string>

namespace halden::testing {

struct MovieForm {
    double seconds = 1;
    int framesInSecond = 10;
    int width = 64;
    int height = 48;
    int aspect = 1;        ///< a pixel is so many times as wide as high
    int degrees = 0;       ///< in which the pictures are to be turned, clockwise
    double blank = 0;      ///< seconds of black at the start
    bool isSound = false;  ///< a sound file instead, of silence
};

/// Writes a movie (the file's extension says of which kind) in which second N is the grey level 20 + 10 N on the left
/// half, and white on the right.
void makeMovie(const std::string& path, const MovieForm& form);

}  // namespace halden::testing
