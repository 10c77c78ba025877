// SPDX-License-Identifier: MIT
#include "codecs/CodecLoader.h"

#include "codecs/DecoderInstance.h"
#include "support/text/Ascii.h"

#include <cwchar>
#include <functional>

namespace aiff::codecs
{
namespace
{

// More items than any real decoder lists: one that goes on is broken.
constexpr uint32_t kMaxListItems = 256;
// Longest text taken from a decoder, in characters.
constexpr size_t kMaxTextLength = 4096;

std::wstring BoundedText(const wchar_t* text)
{
    if (text == nullptr)
        return {};
    return std::wstring(text, wcsnlen(text, kMaxTextLength));
}

// Asks for the items of a list until the decoder has no more.
//
// returns false when there seems to be no end of them
bool ReadList(DecoderInstance& instance, const wchar_t* key,
              const std::function<void(const STQvCodecGetSet&)>& add)
{
    for (uint32_t i = 0; i <= kMaxListItems; ++i) {
        STQvCodecGetSet record{};
        record.nItemIndex = i;
        if (!instance.Get(key, record))
            return true;
        add(record);
    }
    return false;
}

// Fills in what the decoder says about itself.
//
// returns why it cannot be used, or an empty text
std::string Interview(Decoder& decoder)
{
    DecoderInstance instance(decoder.codec, STNStdReport{});
    if (instance.IsEmpty())
        return "Create failed";
    const bool formatsEnd = ReadList(instance, QV_KEY_DECODES, [&](const STQvCodecGetSet& item) {
        decoder.formats.push_back({BoundedText(item.pText1), BoundedText(item.pText2)});
    });
    const bool typesEnd =
        ReadList(instance, QV_KEY_STREAMING_DECODES, [&](const STQvCodecGetSet& item) {
            decoder.mimeTypes.push_back(BoundedText(item.pText1));
        });
    if (!formatsEnd || !typesEnd)
        return "its list of formats does not end";
    if (decoder.formats.empty() && decoder.mimeTypes.empty())
        return "it decodes nothing";
    STQvCodecGetSet record{};
    if (instance.Get(QV_KEY_DECODER_DESCRIPTION, record))
        decoder.description = BoundedText(record.pText1);
    return {};
}

} // namespace

void CodecLoader::Load()
{
    const std::vector<std::string> candidates = CandidateRoots();
    LoadFrom(FindRoot(candidates));
    m_searched = candidates;
}

void CodecLoader::LoadFrom(const std::string& root)
{
    *this = CodecLoader();
    m_root = root;
    m_searched = {root};
    if (root.empty())
        return;
    for (const CodecKind kind : {CodecKind::Decoder, CodecKind::Encoder, CodecKind::Dsp}) {
        for (const std::string& path : PluginFiles(root, kind)) {
            m_files.push_back({path, kind, nullptr, Codec::FileProblem(path)});
            if (kind == CodecKind::Decoder)
                AddDecoder(m_files.back());
        }
    }
}

void CodecLoader::AddDecoder(PluginFile& file)
{
    Decoder decoder;
    decoder.path = file.path;
    decoder.codec = Codec::Load(file.path, file.problem);
    if (decoder.codec == nullptr)
        return;
    file.problem = Interview(decoder);
    if (!file.problem.empty())
        return;
    m_decoders.push_back(std::move(decoder));
    file.decoder = &m_decoders.back();
    for (const FileFormat& format : file.decoder->formats)
        m_byExtension.emplace(FoldCase(format.extension), file.decoder);
}

const Decoder* CodecLoader::ForExtension(std::wstring_view extension) const
{
    const auto found = m_byExtension.find(FoldCase(extension));
    return found == m_byExtension.end() ? nullptr : found->second;
}

} // namespace aiff::codecs
