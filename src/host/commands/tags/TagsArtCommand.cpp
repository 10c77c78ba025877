// SPDX-License-Identifier: MIT
#include "host/base/Printable.h"
#include "host/batch/FindInputs.h"
#include "host/batch/NewFolders.h"
#include "host/batch/OutputFile.h"
#include "host/batch/OutputPlan.h"
#include "host/commands/CommandGroup.h"
#include "host/commands/FetchArguments.h"
#include "host/commands/tags/TagWork.h"
#include "host/writers/PictureKinds.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <functional>
#include <sys/stat.h>

namespace aiff::host
{
namespace
{

// A tag stores its size in 28 bits.
constexpr std::streamoff kMaxPicture = (1 << 28) - 1;

constexpr char kNoPictures[] = "has no pictures";

std::string Extension(std::span<const uint8_t> picture)
{
    const std::string_view type = PictureType(picture);
    if (type == "image/png")
        return ".png";
    if (type == "image/jpeg")
        return ".jpg";
    return type == "image/gif" ? ".gif" : ".bin";
}

class ExportCommand : public DecoderCommand
{
public:
    CommandLine AddTo(CommandLine program) override
    {
        const CommandLine command = program.AddCommand("export", "Save the pictures as files");
        command.AddOption("IN", m_inputs, kInputs).Required().Files(kAiffEndings);
        command
            .AddOption("-o,--output", m_folder,
                       "Folder for 1-front.jpg, 2-back.png, ...; of several files and those in "
                       "folders, each gets one of its own in there")
            .Required()
            .Folders();
        command.AddFlag("--overwrite", m_overwrite, "Replace existing files");
        AddFetchOptions(command, m_fetch);
        AddQuietOption(command, m_quiet);
        return command;
    }

private:
    ExitCode Work(const codecs::CodecLoader& loader, const Trace& trace) override
    {
        const std::vector<InputName> inputs = FindInputs(m_inputs, kAiffEndings, m_folder);
        const bool isOne = inputs.size() == 1 && !inputs.front().below;
        Result<OutputPlan> plan = OutputPlan{{{Input(inputs.front().name), m_folder, {}}}, {}};
        if (!isOne)
            plan = PlanOutputs(inputs, m_folder, "", std::bind_front(IsOneOf, kAiffEndings));
        if (!plan)
            return FailWith(kExitUsage, plan.Why());
        ReportCapture report(trace);
        NewFolders folders(false);
        ExitCode code = kExitDone;
        for (const OutputPlan::Item& item : plan->items) {
            const Result<size_t> pictures = ExportAll(loader, report, item, folders);
            Problem problem = pictures.Why();
            if (pictures && *pictures == 0 && isOne)
                problem = kNoPictures;
            if (problem)
                code = FailWith(kExitSomeFailed, problem.About(item.input.Name()));
            else if (*pictures == 0 && !m_quiet)
                std::printf("%s: %s\n", Printable(item.input.Name()).c_str(), kNoPictures);
        }
        return code;
    }

    // The number of pictures.
    Result<size_t> ExportAll(const codecs::CodecLoader& loader, ReportCapture& report,
                             const OutputPlan::Item& item, NewFolders& folders) const
    {
        if (item.problem)
            return item.problem;
        const Result<InputAtHand> source =
            BringToHand(loader, report, item.input, Wanted::SoundAndTags, m_fetch, [](int64_t) {});
        if (!source)
            return source.Why();
        EditedFile file(loader, report, source->input, {});
        if (Problem problem = source->incomplete ? source->incomplete : file.Read())
            return problem;
        const Result<size_t> pictures = Export(file, item, folders);
        if (pictures)
            SayHowItCame(*source, item.input.Name(), m_quiet);
        return pictures;
    }

    Result<size_t> Export(const EditedFile& file, const OutputPlan::Item& item,
                          NewFolders& folders) const
    {
        size_t index = 0;
        for (const TagItem& field : file.Items()) {
            if (!field.IsPicture())
                continue;
            if (Problem problem = folders.Make(item.output))
                return problem;
            const std::string path = item.output + "/" + std::to_string(++index) + "-" +
                                     PictureKindOfRole(field.PictureRole()).option +
                                     Extension(field.data);
            if (Problem problem = WritePicture(path, field.data))
                return problem;
            if (!m_quiet)
                std::printf("%s: picture %zu -> %s\n", Printable(item.input.Name()).c_str(), index,
                            Printable(path).c_str());
        }
        return index;
    }

    Problem WritePicture(const std::string& path, std::span<const uint8_t> data) const
    {
        // A link could lead out of the folder.
        struct stat status;
        if (lstat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode))
            return "'" + path + "' exists and is not a regular file";
        std::vector<uint8_t> buffer(64 * 1024);
        OutputFile output(buffer);
        if (Problem problem = output.Open(path, {m_overwrite ? IfExists::Replace : IfExists::Fail}))
            return problem;
        if (Problem problem = output.Write(data))
            return problem;
        return output.Commit();
    }

    std::vector<std::string> m_inputs;
    std::string m_folder;
    Fetch m_fetch = Fetch::WhenNeeded;
    bool m_overwrite = false;
    bool m_quiet = false;
};

constexpr std::array<std::string_view, 6> kAiffAndPictureEndings = {".aif",  ".aifc", ".aiff",
                                                                    ".jpeg", ".jpg",  ".png"};

std::vector<std::string> TypeNames()
{
    std::vector<std::string> options;
    for (const PictureKind& kind : PictureKinds())
        options.emplace_back(kind.option);
    return options;
}

Result<std::vector<uint8_t>> ReadPicture(const std::string& path)
{
    if (Problem problem = Input(path).FileProblem())
        return problem;
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    if (!file)
        return Problem::FromErrno();
    const std::streamoff size = file.tellg();
    if (size > kMaxPicture)
        return Problem("is too large for a tag");
    std::vector<uint8_t> picture(static_cast<size_t>(size));
    file.seekg(0);
    file.read(reinterpret_cast<char*>(picture.data()), size);
    if (!file)
        return Problem("cannot be read");
    const std::string_view type = PictureType(picture);
    if (type != "image/png" && type != "image/jpeg")
        return Problem("is neither a PNG nor a JPEG picture");
    return picture;
}

class SetCommand : public DecoderCommand
{
public:
    CommandLine AddTo(CommandLine program) override
    {
        const CommandLine command = program.AddCommand("set", "Put a picture into files");
        command
            .AddOption("FILE... IMAGE", m_arguments,
                       "Files and folders, then a PNG or JPEG picture")
            .Required()
            .Files(kAiffAndPictureEndings)
            .AtLeast(2);
        command.AddOption("--type", m_type, "What it shows (default: front)").Suggest(TypeNames);
        command.AddOption("--description", m_description, "A short description of it");
        AddVersionOption(command, m_options);
        AddEditOptions(command, m_options);
        command.Footer("Replaces the pictures of that type. Types:\n" + Joined(TypeNames()));
        return command;
    }

private:
    ExitCode Work(const codecs::CodecLoader& loader, const Trace& trace) override
    {
        const PictureKind* kind = PictureKindOfOption(m_type);
        if (kind == nullptr)
            return FailWith(kExitUsage, "--type takes one of:\n" + Joined(TypeNames()));
        const std::string path = m_arguments.back();
        const Result<std::vector<uint8_t>> picture = ReadPicture(path);
        if (!picture)
            return FailWith(kExitSomeFailed, picture.Why().About(path));
        const std::vector<TagItem> items = {
            {PictureItemName(1, *kind, m_description), "", *picture}};
        if (const auto blob = MakeTagBlob(items); !blob)
            return FailWith(kExitUsage, blob.Why());
        m_arguments.pop_back();
        return WriteToEach(m_arguments, items, "set picture " + m_type, loader, trace, m_options);
    }

    std::vector<std::string> m_arguments;
    std::string m_type = "front";
    std::string m_description;
    EditOptions m_options;
};

class RemoveCommand : public DecoderCommand
{
public:
    CommandLine AddTo(CommandLine program) override
    {
        const CommandLine command = program.AddCommand("remove", "Remove pictures from files");
        command.AddOption("FILE", m_files, "Files and folders to change")
            .Required()
            .Files(kAiffEndings);
        command.AddOption("--type", m_type, "Only pictures of this type").Suggest(TypeNames);
        AddEditOptions(command, m_options);
        command.Footer("Types:\n" + Joined(TypeNames()));
        return command;
    }

private:
    ExitCode Work(const codecs::CodecLoader& loader, const Trace& trace) override
    {
        const PictureKind* const kind = PictureKindOfOption(m_type);
        if (kind == nullptr && !m_type.empty())
            return FailWith(kExitUsage, "--type takes one of:\n" + Joined(TypeNames()));
        return ForEachTagFile(m_files, loader, trace, m_options,
                              [kind](EditedFile& file) { return RemoveFrom(file, kind); });
    }

    // kind  null: of all kinds
    static Problem RemoveFrom(EditedFile& file, const PictureKind* kind)
    {
        std::vector<std::string> names;
        std::vector<std::string> roles;
        for (const TagItem& item : file.Items()) {
            if (!item.IsPicture() || (kind != nullptr && item.PictureRole() != kind->role))
                continue;
            names.push_back(item.name);
            roles.push_back(item.PictureRole());
        }
        if (names.empty()) {
            file.Say(kind == nullptr ? kNoPictures : std::string("has no picture ") + kind->option);
            return {};
        }
        if (Problem problem = file.Remove(names))
            return problem;
        file.Say("removed " + Counted(std::ssize(names), "picture") + ": " + Joined(roles));
        return {};
    }

    std::vector<std::string> m_files;
    std::string m_type;
    EditOptions m_options;
};

template <class AnyCommand>
std::unique_ptr<Command> Make()
{
    return std::make_unique<AnyCommand>();
}

} // namespace

std::unique_ptr<Command> MakeTagsArtCommand()
{
    return std::make_unique<CommandGroup>(
        "art", "Export, set or remove pictures", "",
        CommandSet::Makers{Make<ExportCommand>, Make<SetCommand>, Make<RemoveCommand>});
}

} // namespace aiff::host
