// SPDX-License-Identifier: MIT
#include "host/session/Reason.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <string_view>
#include <sys/file.h>
#include <unistd.h>

namespace aiff::host
{
namespace
{

// What a line of a decoder's report means. In the text, "%" stands for the rest of the
// line, "@" for the compression of the input.
struct Phrase {
    std::string_view start;
    std::string_view text;
};

constexpr std::string_view kChunkOutOfFile = "Error Chunk is out of file.";
constexpr std::string_view kChunkOutOfForm = "Warning Chunk is out of AIFF area";

constexpr std::string_view kTooManyChunks = "Error too many chunks";

constexpr std::string_view kErrorOpening = "Error opening file '";
constexpr std::string_view kErrorWriting = "Error writing file '";

constexpr Phrase kPhrases[] = {
    {"Error first chunk unknown: ", "is not an AIFF file (it begins with \"%\")"},
    {"Error: File too small for AIFF.", "is too short to be an AIFF file"},
    {"Error cannot find 'COMM' chunk.",
     "has no description of its audio format (no COMM chunk): damaged, or not an AIFF file"},
    {"Error cannot find 'SSND' chunk.", "holds no sound data (no SSND chunk)"},
    {"Error 'COMM' chunk is a bad size.",
     "has a damaged description of its audio format (COMM chunk of a wrong size)"},
    {"Error cannot read 'COMM' chunk from file.",
     "is cut off within the description of its audio format (COMM chunk)"},
    {"Error - file has compressed audio (not supported).",
     "holds compressed audio@, which is not supported"},
    {"Error reading data from file.", "cannot be read to the end of its sound data"},
    {kErrorOpening, "cannot be opened"},
    {"Error unknown Chunk too large for streaming.",
     "has a chunk before its sound that a stream cannot skip"},
    {"Error wave file has no COMM format chunk.",
     "has its audio format after the sound, which a stream cannot use"},
};

constexpr std::string_view kPartOfFrame = "Stream ends within a sample frame.";

// What an edit says that has done more than it was asked for.
constexpr Phrase kEditNotes[] = {
    {"The size of the form is corrected from ", "the size of its form was wrong and is corrected"},
    {"The size of the last chunk '",
     "its last chunk was cut off: the size of the chunk is corrected to what is there"},
    {"The file was replaced by a changed copy. Its other names",
     "its other names (hard links) keep the old tags"},
    {"Frames that the new tag cannot hold are left out: ",
     "frames of an older tag that cannot be kept in a newer one are left out: %"},
    {"The new tags are in '", "has the new tags, but also bytes that the next edit removes"},
};

// What a decoder says about the connection of a stream.
constexpr Phrase kStreamPhrases[] = {
    {"Cannot open stream: status ", "cannot be opened: the server answers with status %"},
    {"Cannot open stream: ", "cannot be opened: %"},
    {"Stream breaks off: ", "breaks off: %"},
};

// The lines of an edit of tags.
constexpr Phrase kEditPhrases[] = {
    {"Error the file is left as it is: ", "is left as it is: %"},
    {"Error writing to file, disk full?", "cannot be written (is the disk full?)"},
    {"Error Setting File", "cannot be written (is the disk full?)"},
};

bool AnyStartsWith(const std::vector<std::string>& lines, std::string_view start)
{
    return std::ranges::any_of(
        lines, [start](const std::string& line) { return line.starts_with(start); });
}

// A property of the input; empty when it has none of that name. An instance of its own
// reads it, and only once something has gone wrong: intact files need not wait for that.
std::string Property(const DecoderSession& session, std::string_view name)
{
    ReportCapture silent{Trace{}};
    DecoderSession reader(session.Loader(), silent);
    if (!reader.Open(session.Source(), QV_OPEN_PROPERTIES))
        return {};
    return FindValue(reader.Properties(), name);
}

// " (ulaw, µLaw 2:1)" from the property "ulaw (µLaw 2:1)"; empty when unknown.
std::string Compression(const DecoderSession& session)
{
    const std::string settings = Property(session, "Encoder Settings");
    const size_t bracket = settings.find(" (");
    if (settings.empty() || bracket == std::string::npos)
        return {};
    std::string name = settings.substr(bracket + 2);
    name.pop_back();
    const std::string code = settings.substr(0, bracket);
    return " (" + code + (name.empty() ? "" : ", " + name) + ")";
}

// The text of a phrase for a line that begins with its start.
std::string Filled(const Phrase& phrase, const std::string& line)
{
    std::string text(phrase.text);
    if (const size_t mark = text.find('%'); mark != std::string::npos)
        text.replace(mark, 1, line.substr(phrase.start.size()));
    return text;
}

// What an error line means; empty for an unknown one.
std::string Translate(const DecoderSession& session, const std::string& line)
{
    for (const Phrase& phrase : kPhrases) {
        if (!line.starts_with(phrase.start))
            continue;
        std::string text = Filled(phrase, line);
        if (const size_t mark = text.find('@'); mark != std::string::npos)
            text.replace(mark, 1, Compression(session));
        return text;
    }
    return {};
}

// Why the file of this name could not be opened for an edit, found out by doing as the
// decoder did.
std::string WhyNotOpened(const std::string& name)
{
    const int file = open(name.c_str(), O_RDWR | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (file < 0)
        return Problem::FromErrno().About("cannot be changed").Text();
    Problem why = "cannot be opened for writing: another program may have been changing it";
    if (flock(file, LOCK_EX | LOCK_NB) != 0)
        why = errno == EWOULDBLOCK ? Problem("cannot be changed: another program is changing it")
                                   : Problem::FromErrno().About("cannot be locked");
    close(file);
    return why.Text();
}

// What an error line of an edit means; empty for an unknown one.
std::string TranslateEdit(const Input& input, const std::string& line)
{
    for (const Phrase& phrase : kEditPhrases) {
        if (line.starts_with(phrase.start))
            return Filled(phrase, line);
    }
    const std::string writing = std::string(kErrorWriting) + input.Name() + "': ";
    if (line.starts_with(writing)) {
        const std::string reason = line.substr(writing.size());
        return reason.starts_with("it was ") ? reason.substr(3) : "cannot be written: " + reason;
    }
    return line.starts_with(kErrorOpening) ? WhyNotOpened(input.Path()) : "";
}

// What is wrong with the connection of a stream; empty when nothing is.
std::string StreamFault(const std::vector<std::string>& information)
{
    for (const std::string& line : information) {
        for (const Phrase& phrase : kStreamPhrases)
            if (line.starts_with(phrase.start))
                return Filled(phrase, line);
    }
    return {};
}

// A chunk that runs past the end of the file ends the list of chunks: when the sound is the
// last one, it is the sound that was cut off.
bool SoundIsLastChunk(const DecoderSession& session)
{
    const std::string chunks = Property(session, "Riff Chunks");
    if (chunks.ends_with(" more")) // the last one is not named
        return chunks.find("'SSND'") == chunks.npos && chunks.find("'ssnd'") == chunks.npos;
    const size_t last = chunks.rfind(",  '");
    const std::string_view entry =
        std::string_view(chunks).substr(last == std::string::npos ? 0 : last + 3);
    return entry.starts_with("'SSND'") || entry.starts_with("'ssnd'");
}

} // namespace

Problem FailureReason(const DecoderSession& session)
{
    if (const Problem problem = session.Source().AccessProblem())
        return problem;
    if (const std::string fault = StreamFault(session.Information()); !fault.empty())
        return fault;
    const auto& errors = session.Errors();
    for (auto line = errors.rbegin(); line != errors.rend(); ++line) {
        const std::string text = Translate(session, *line);
        if (!text.empty())
            return text + (AnyStartsWith(errors, kChunkOutOfFile) ? "; the file is cut off" : "");
    }
    if (errors.empty())
        return "cannot be decoded (the decoder gives no reason)";
    return "cannot be decoded: " + errors.back();
}

Problem EditFailureReason(const Input& input, const std::vector<std::string>& errors)
{
    for (auto line = errors.rbegin(); line != errors.rend(); ++line) {
        std::string text = TranslateEdit(input, *line);
        if (text.ends_with('.'))
            text.pop_back();
        if (!text.empty())
            return text;
    }
    if (errors.empty())
        return "cannot be changed (the decoder gives no reason)";
    return "cannot be changed: " + errors.back();
}

std::vector<std::string> EditNotes(const std::vector<std::string>& information)
{
    std::vector<std::string> notes;
    for (const Phrase& note : kEditNotes) {
        const auto line = std::ranges::find_if(
            information, [&](const std::string& l) { return l.starts_with(note.start); });
        if (line != information.end())
            notes.push_back(Filled(note, *line));
    }
    return notes;
}

Problem DamageWarning(const DecoderSession& session)
{
    if (AnyStartsWith(session.Errors(), kTooManyChunks))
        return "has so many chunks that the last ones, and tags among them, were left out";
    if (AnyStartsWith(session.Information(), kPartOfFrame))
        return "ends within a sample frame, which is left out";
    const bool suspicious = AnyStartsWith(session.Errors(), kChunkOutOfFile) ||
                            AnyStartsWith(session.Information(), kChunkOutOfForm);
    // A stream is read up to its sound only.
    if (!suspicious || (!session.Source().IsStream() && !SoundIsLastChunk(session)))
        return {};
    return kSoundIsCut;
}

} // namespace aiff::host
