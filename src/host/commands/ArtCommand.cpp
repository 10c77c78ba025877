#include "host/base/ExitCode.h"
#include "host/batch/OutputFile.h"
#include "host/commands/CommandGroup.h"
#include "host/commands/TagCommands.h"
#include "host/writers/PictureKinds.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sys/stat.h>

namespace host
{
namespace
{

// A tag says its size in 28 bits.
constexpr std::streamoff kMaxPicture = (1 << 28) - 1;

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
    CLI::App* AddTo(CLI::App& program) override
    {
        CLI::App* command = program.add_subcommand("export", "Write the pictures into files");
        command->add_option("FILE", m_file, "The file that holds them")->required();
        command->add_option("-o,--output", m_folder, "Folder for 1-front.jpg, 2-back.png, ...")
            ->required();
        command->add_flag("--overwrite", m_overwrite, "Replace existing files");
        return command;
    }

private:
    int Work(const codecs::CodecLoader& loader, const Trace& trace) override
    {
        ReportCapture report(trace);
        return ForEachTagFile({m_file}, loader, report, [this](TagFile& file, std::string& why) {
            return Export(file, why);
        });
    }

    bool Export(const TagFile& file, std::string& problem) const
    {
        size_t index = 0;
        for (const TagItem& item : file.Items()) {
            if (!item.IsPicture())
                continue;
            if (++index == 1 && mkdir(m_folder.c_str(), 0777) != 0 && errno != EEXIST) {
                problem = "cannot make the folder '" + m_folder + "': " + std::strerror(errno);
                return false;
            }
            const std::string path = m_folder + "/" + std::to_string(index) + "-" +
                                     PictureKindOfRole(item.PictureRole()).option +
                                     Extension(item.data);
            if (!WritePicture(path, item.data, problem))
                return false;
            SayDone(file, "picture " + std::to_string(index) + " -> " + path);
        }
        if (index == 0)
            problem = "has no pictures";
        return index != 0;
    }

    bool WritePicture(const std::string& path, std::span<const uint8_t> data,
                      std::string& problem) const
    {
        // A link could lead out of the folder.
        struct stat status;
        if (lstat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
            problem = "'" + path + "' exists and is no plain file";
            return false;
        }
        std::vector<uint8_t> buffer(64 * 1024);
        OutputFile output(buffer);
        if (output.Open(path, m_overwrite) && output.Write(data) && output.Commit())
            return true;
        problem = "'" + path + "': " + output.Problem();
        return false;
    }

    std::string m_file;
    std::string m_folder;
    bool m_overwrite = false;
};

class SetCommand : public DecoderCommand
{
public:
    CLI::App* AddTo(CLI::App& program) override
    {
        CLI::App* command = program.add_subcommand("set", "Put a picture into files");
        command->add_option("FILE... IMAGE", m_arguments, "Files, then a PNG or JPEG picture")
            ->required()
            ->expected(2, -1);
        command->add_option("--type", m_type, "What it shows (default: front)");
        command->add_option("--description", m_description, "Some words about it");
        command->footer("Takes the place of the pictures of that type. Types:\n" + TypeList());
        return command;
    }

private:
    int Work(const codecs::CodecLoader& loader, const Trace& trace) override
    {
        const PictureKind* kind = PictureKindOfOption(m_type);
        if (kind == nullptr)
            return Refuse("--type takes one of:\n" + TypeList(), kExitUsage);
        std::string problem;
        std::vector<uint8_t> picture;
        if (!ReadPicture(m_arguments.back(), picture, problem))
            return Refuse(m_arguments.back() + ": " + problem, kExitSomeFailed);
        const std::vector<TagItem> items = {{PictureItemName(*kind, m_description), "", picture}};
        std::vector<uint8_t> blob;
        if (!MakeTagBlob(items, blob, problem))
            return Refuse(problem, kExitUsage);
        ReportCapture report(trace);
        m_arguments.pop_back();
        return ForEachTagFile(m_arguments, loader, report, [&](TagFile& file, std::string&) {
            if (!file.Write(items))
                return false;
            SayDone(file, "set picture " + m_type);
            return true;
        });
    }

    static std::string TypeList()
    {
        std::string list;
        for (const PictureKind& kind : PictureKinds())
            list += (list.empty() ? "" : ", ") + std::string(kind.option);
        return list;
    }

    static int Refuse(const std::string& problem, ExitCode code)
    {
        SayProblem(problem);
        return code;
    }

    static bool ReadPicture(const std::string& path, std::vector<uint8_t>& picture,
                            std::string& problem)
    {
        problem = Input(path).FileProblem();
        std::ifstream file(path, std::ios::binary | std::ios::ate);
        if (problem.empty() && !file)
            problem = std::strerror(errno);
        if (!problem.empty())
            return false;
        const std::streamoff size = file.tellg();
        if (size > kMaxPicture) {
            problem = "is too large for a tag";
            return false;
        }
        picture.resize(static_cast<size_t>(size));
        file.seekg(0);
        file.read(reinterpret_cast<char*>(picture.data()), size);
        const std::string_view type = PictureType(picture);
        if (!file)
            problem = "cannot be read";
        else if (type != "image/png" && type != "image/jpeg")
            problem = "is neither a PNG nor a JPEG picture";
        return problem.empty();
    }

    std::vector<std::string> m_arguments;
    std::string m_type = "front";
    std::string m_description;
};

} // namespace

std::unique_ptr<Command> MakeTagsArtCommand()
{
    const auto makeExport = []() -> std::unique_ptr<Command> {
        return std::make_unique<ExportCommand>();
    };
    const auto makeSet = []() -> std::unique_ptr<Command> {
        return std::make_unique<SetCommand>();
    };
    return std::make_unique<CommandGroup>("art", "Take pictures out or put them in", "",
                                          CommandGroup::Makers{makeExport, makeSet});
}

} // namespace host
