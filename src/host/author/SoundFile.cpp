// SPDX-License-Identifier: MIT
#include "host/author/SoundFile.h"

#include "aiff/AIFFHandler.h"
#include "host/author/AiffSource.h"
#include "host/author/SndfileSource.h"
#include "support/file/DiskFile.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace aiff::host
{
namespace
{

// Inputs of other programs may lack the pad byte at their end, and the readers forgive it; a file
// that was written with it has been cut off.
bool LacksLastByte(const std::string& path)
{
    std::error_code error;
    const std::shared_ptr<DiskFile> file = DiskFile::Open(path, DiskFile::Access::Read, error);
    std::array<uint8_t, 8> header{};
    if (file == nullptr || file->ReadAt(0, header) != header.size())
        return false;
    const std::string_view id{reinterpret_cast<const char*>(header.data()), 4};
    if (id == "RIFF")
        std::reverse(header.begin() + 4, header.end());
    else if (id != "FORM")
        return false;
    return clAIFFHandler::SizeToInt64(&header[4]) + std::ssize(header) == file->Size() + 1;
}

} // namespace

Problem SoundFileDamage(const std::string& path)
{
    if (LacksLastByte(path))
        return "lacks its last byte";
    if (AiffSource aiff; aiff.IsAiff(path) && !aiff.Open())
        return aiff.Damage();
    SndfileSource other;
    if (Problem problem = other.OpenAny(path))
        return problem;
    if (Problem problem = other.Damage())
        return problem;
    return other.HasLastFrame() ? Problem() : "cannot be read to its last sample frame";
}

AiffSound ReadAiffSound(const std::string& path)
{
    AiffSource source;
    if (!source.IsAiff(path) || source.Open(AiffSource::Codings::All))
        return {};
    const bool isCoded = source.IsCoded();
    return {isCoded, isCoded ? 0 : source.SampleOffset(), source.Damage(), source.LeftOut()};
}

} // namespace aiff::host
