// SPDX-License-Identifier: MIT

// Tags to start from: unsynchronised as a whole or in frames, rightly and not, with frames whose
// sizes are wrong, and with what follows the frames.
#pragma once

#include "tags/TagBuilder.h"

inline std::vector<Bytes> OddTags()
{
    std::vector<Bytes> tags;
    for (const int version : {2, 3, 4}) {
        const std::string frames =
            version == 2
                ? Frames(2, "TT2:Old|ZZZ=a\xFF\xE0|TXX:k~v|PIC=~PNG\3~\x89\xFF~\xE1z|TP1:z\xFF"s)
                : Frames(version, "TIT2:Old|PRIV=o~a\xFF\xE0|TXXX:k~v|"
                                  "APIC:image/png~\3~\x89\xFF~\xE1z|TPE1:z\xFF"s);
        const size_t first = version == 2 ? 5 : 7, last = frames.rfind('T') + first; // a size
        std::string larger = frames, smaller = frames, longer = frames;
        ++larger[first];
        --smaller[first];
        ++longer[last];
        for (const uint8_t flags : Bytes{0, 0x80})
            for (const std::string& content :
                 {frames, Unsynchronised(frames), larger, smaller, Unsynchronised(longer),
                  frames + std::string(9, '\0'), frames.substr(0, frames.size() - 3),
                  frames + "\xFF~~~"s})
                tags.push_back(TagOf(version, content, flags));
    }
    const std::string body = "o~a\xFF~\xE0z\xFF~"s, length = "~~~\7"s;
    const std::string notes = "TIT2:Old|PRIV[0002]=" + body + "|PRIV[0003]=" + length + body +
                              "|PRIV[0001]=" + length + "o~a\xFF~bcd|TPE1[0002]=~z\xFF"s;
    tags.push_back(Tag(4, notes));
    tags.push_back(Tag(4, notes + "\xE0"));
    tags.push_back(
        Tag(4, "POPM[0031]=T\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF|PRIV=o~\xFF\xE0"s)); // no length
    tags.push_back(TagOf(4, Frames(3, "TIT2:" + std::string(300, 'a') + "|PRIV=o~own|TPE1:b")));
    tags.push_back(Tag(3, "TT2~:Old|TP1~:b|PRIV=o~own"));
    return tags;
}
