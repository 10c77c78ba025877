// SPDX-License-Identifier: MIT
#include "host/author/CodedSound.h"

#include "host/author/AiffSource.h"
#include "host/author/Ima4Reader.h"
#include "host/author/LibraryReader.h"
#include "host/author/tags/AiffForm.h"

#include <string_view>

namespace aiff::host
{

std::string CodedSound::Becomes() const
{
    const STQvWaveFormat format = reader->Format();
    return std::to_string(format.nBitsPerSample) +
           (format.nFormatTag == kFormatFloat ? "-bit floating point" : "-bit integers");
}

std::string CodedSound::Way() const
{
    if (clAIFFHandler::CompareID(FourCC(coding.c_str()), kCompressionNone, true))
        return "has samples of " + std::to_string(bits) + " bits, which become the upper bits of " +
               Becomes();
    return "holds audio coded as '" + coding + "', which " + decoder + " decodes to " + Becomes();
}

Result<CodedSound> OpenCodedSound(const std::string& path, FrameRange range)
{
    const auto source = std::make_shared<AiffSource>();
    if (!source->IsAiff(path))
        return Problem("is not an AIFF file");
    if (Problem problem = source->Open(AiffSource::Codings::All))
        return problem;
    const Coding* coding = source->Layout().coding;
    const bool isIma4 = coding != nullptr && coding->code == std::string_view("ima4");
    if (coding == nullptr || (coding->library == nullptr && !isIma4))
        return Problem("holds audio coded as " + CodeText(source->Layout().code) +
                       ", which is not supported");
    CodedSound sound;
    sound.coding = coding->code;
    sound.bits = source->Layout().bits;
    if (isIma4) {
        sound.decoder = "aiffconv";
        sound.reader = std::make_unique<Ima4Reader>(source, range);
        return sound;
    }
    auto reader = std::make_unique<LibraryReader>();
    if (Problem problem = reader->Open(source, range))
        return problem;
    sound.decoder = "libsndfile";
    sound.reader = std::move(reader);
    return sound;
}

} // namespace aiff::host
