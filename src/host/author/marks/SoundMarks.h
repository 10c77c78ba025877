// SPDX-License-Identifier: MIT

// Markers, loops and what else a file says about places in its sound or about its origin.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace aiff::host
{

struct Marker {
    uint32_t id = 0;
    int64_t frame = 0;   // before which it lies; that after the last one is the end
    std::string name;    // UTF-8, as all texts here
    std::string comment; // mostly empty
};

struct Loop {
    enum class Mode { Forward, PingPong, Backward };
    Mode mode = Mode::Forward;
    int64_t first = 0; // frames
    int64_t end = 0;   // exclusive, greater than `first`
    bool isRelease = false;
};

// How a sampler plays the sound.
struct Instrument {
    int baseNote = 60;
    int detune = 0; // cents
    int lowNote = 0;
    int highNote = 127;
    int lowVelocity = 1;
    int highVelocity = 127;
    int gain = 0; // dB
};

struct SoundMarks {
    std::vector<Marker> markers; // in the order of the file, which may be any
    std::vector<Loop> loops;
    std::optional<Instrument> instrument;
    std::vector<std::string> comments; // of no marker
    std::vector<uint8_t> bext;         // broadcast data, as in the chunk of that name
    std::vector<uint8_t> ixml;
    // Sentences for people about what of the file is not here, or is odd.
    std::vector<std::string> notes;

    // "3 markers, 1 loop, broadcast data (bext)"; empty when there are none.
    std::string Contents() const;
};

// Leaves only what belongs to the frames of a part, from `first` to `end`, counted from its start.
void CutMarks(SoundMarks& marks, int64_t first, int64_t end);

// Adds a note about markers after the end of so many frames.
void TellMarksBeyond(SoundMarks& marks, int64_t frames);

// Gives each marker a number of its own from 1 on, those that have one keeping it, but for
// numbers above `most`. Markers for which there is none are left out.
void NumberMarkers(SoundMarks& marks, uint32_t most);

// Notes "left out: 2 <what>", or nothing when the count is 0.
void NoteLeftOut(SoundMarks& marks, size_t count, const std::string& what);

} // namespace aiff::host
