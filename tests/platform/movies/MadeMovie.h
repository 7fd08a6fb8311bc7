// Movies that tests make.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace halden::testing {

struct MovieForm {
    double seconds = 1;
    int framesInSecond = 10;
    int width = 64;
    int height = 48;
    int aspect = 1;           ///< a pixel is so many times as wide as high
    int degrees = 0;          ///< in which the pictures are to be turned, clockwise
    bool isMirrored = false;  ///< left and right are to be swapped
    double blank = 0;         ///< seconds of black at the start
    int keyFrames = 25;       ///< every so many
    bool isSound = false;     ///< a sound file instead, of silence
    std::vector<std::pair<std::string, std::string>> entries = {};  ///< of the container: "title" and the like
};

/// Writes a movie (the file's extension says of which kind) in which second N is the grey level 20 + 10 N on the left
/// half, and white on the right.
void makeMovie(const std::string& path, const MovieForm& form);

struct Mp3Form {
    int seconds = 1;
    bool cover = false;       ///< 32 x 32, of two halves: grey level 100 (of 16 to 235) and white
    std::string frames = {};  ///< of the tag, see textFrame
};

/// The bytes of an MP3 file of silence, with a tag (ID3 2.3) before it.
std::string makeMp3(const Mp3Form& form);

/// A frame of the tag: "TIT2" is a title, for instance. In Latin 1.
std::string textFrame(const std::string& name, const std::string& text);

}  // namespace halden::testing
