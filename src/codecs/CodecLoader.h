// SPDX-License-Identifier: MIT

// The decoders that are installed, and which of them reads what.
#pragma once

#include "codecs/Codec.h"
#include "codecs/CodecFolders.h"

#include <deque>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace aiff::codecs
{

// One kind of file that a decoder reads.
struct FileFormat {
    std::wstring extension; // with its dot, as the decoder spells it
    std::wstring name;
};

// A usable decoder and what it says about itself.
struct Decoder {
    std::string path;
    std::shared_ptr<const Codec> codec;
    std::wstring description;
    std::vector<FileFormat> formats;
    std::vector<std::wstring> mimeTypes;
};

// A plug-in file found in the folder.
struct PluginFile {
    std::string path;
    CodecKind kind = CodecKind::Decoder;
    const Decoder* decoder = nullptr; // null when it is not a decoder or not usable
    std::string problem;              // why the file is not usable
};

// Loads all decoders below a folder and knows which of them reads which extension. Encoders
// and DSPs are listed but not loaded. Once Load has returned, any number of threads may look
// things up.
class CodecLoader
{
public:
    CodecLoader() = default;
    CodecLoader(CodecLoader&&) = default; // pointers to decoders stay valid
    CodecLoader& operator=(CodecLoader&&) = default;

    // Finds the folder (see CandidateRoots), or takes the one given, and loads what it
    // holds in place of what was loaded before. Libraries stay loaded while in use.
    void Load();
    void LoadFrom(const std::string& root);

    // The folder in use; empty when none of SearchedRoots() holds plug-ins.
    const std::string& Root() const { return m_root; }
    const std::vector<std::string>& SearchedRoots() const { return m_searched; }

    const std::vector<PluginFile>& Files() const { return m_files; }
    const std::deque<Decoder>& Decoders() const { return m_decoders; }

    // The decoder for an extension with its dot, in upper or lower case; null when there is
    // none. Of several the first one found is taken.
    const Decoder* ForExtension(std::wstring_view extension) const;

private:
    void AddDecoder(PluginFile& file);

    std::string m_root;
    std::vector<std::string> m_searched;
    std::vector<PluginFile> m_files;
    std::deque<Decoder> m_decoders;                       // addresses stay as it grows
    std::map<std::wstring, const Decoder*> m_byExtension; // in lower case
};

} // namespace aiff::codecs
