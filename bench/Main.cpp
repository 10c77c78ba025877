// Measures and prints one JSON object. Times are in seconds, one per repetition;
// the ways take turns within a repetition and the first of them changes, so that
// a disturbance of the machine hits all alike.
//
//   bench_codec decode PLUGIN REPETITIONS FILE    decoding a file whole
//   bench_codec open PLUGIN REPETITIONS FOLDER    opening all files of a folder
//   bench_codec once WAY PLUGIN FILE              decodes, tells the peak memory in KiB
//   bench_codec opens WAY PLUGIN FILE COUNT       opens a file so many times
#include "Ways.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <numeric>
#include <vector>

namespace
{

constexpr uint32_t kInfo = QV_OPEN_PREPARE_DECODE | QV_OPEN_PROPERTIES;
constexpr uint32_t kInfoAndTags = kInfo | QV_OPEN_READ_TAGS;

// One way to do a job that must give `expected` bytes each time.
struct Way {
    const char* name;
    std::function<int64_t()> run;
    int64_t expected;
    std::vector<double> seconds = {};
};

void Measure(Way& way)
{
    const auto start = std::chrono::steady_clock::now();
    const int64_t bytes = way.run();
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    if (bytes != way.expected)
        Fail(std::string(way.name) + " gave " + std::to_string(bytes) + " bytes, not " +
             std::to_string(way.expected));
    way.seconds.push_back(time.count());
}

void MeasureInterleaved(std::vector<Way>& ways, int repetitions)
{
    for (int repetition = 0; repetition < repetitions; ++repetition)
        for (size_t turn = 0; turn < ways.size(); ++turn)
            Measure(ways[(turn + static_cast<size_t>(repetition)) % ways.size()]);
}

void PrintTimes(const std::vector<Way>& ways)
{
    for (const Way& way : ways) {
        std::printf(", \"%s\": [", way.name);
        for (const double& time : way.seconds)
            std::printf("%s%.9f", &time == way.seconds.data() ? "" : ", ", time);
        std::printf("]");
    }
    std::printf("}\n");
}

void Decode(const Plugin& plugin, int repetitions, const FileName& file)
{
    const Pcm pcm = PcmOfPlugin(plugin, file); // also brings the file into the page cache
    if (pcm.bytes == 0 || !(pcm == PcmOfSndfile(file)))
        Fail("the plug-in and libsndfile disagree on " + file.bytes);
    const auto fileBytes = static_cast<int64_t>(std::filesystem::file_size(file.bytes));
    std::vector<Way> ways = {
        {"read", [&] { return ReadPlain(file); }, fileBytes},
        {"plugin", [&] { return ReadByPlugin(plugin, file); }, pcm.bytes},
        {"libsndfile", [&] { return ReadBySndfile(file); }, pcm.bytes},
    };
    MeasureInterleaved(ways, repetitions);
    std::printf("{\"file_bytes\": %lld, \"pcm_bytes\": %lld", static_cast<long long>(fileBytes),
                static_cast<long long>(pcm.bytes));
    PrintTimes(ways);
}

std::vector<FileName> FilesOf(const char* folder)
{
    std::vector<FileName> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        files.emplace_back(entry.path().string());
    return files;
}

void OpenAll(const Plugin& plugin, int repetitions, const char* folder)
{
    const std::vector<FileName> files = FilesOf(folder);
    const auto sum = [&](auto&& open) {
        return std::accumulate(files.begin(), files.end(), int64_t{0},
                               [&](int64_t bytes, const FileName& f) { return bytes + open(f); });
    };
    const int64_t expected = sum(OpenBySndfile); // also warms the caches of the system
    int tagged = 0;
    const auto byPlugin = [&](uint32_t flags) {
        return [&, flags] {
            tagged = 0;
            return sum([&](const FileName& f) { return OpenByPlugin(plugin, f, flags, tagged); });
        };
    };
    byPlugin(kInfoAndTags)();
    const int taggedFiles = tagged;
    std::vector<Way> ways = {
        {"plugin_1_16", byPlugin(kInfo), expected},
        {"plugin_1_8_16", byPlugin(kInfoAndTags), expected},
        {"libsndfile", [&] { return sum(OpenBySndfile); }, expected},
    };
    MeasureInterleaved(ways, repetitions);
    std::printf("{\"files\": %zu, \"tagged\": %d", files.size(), taggedFiles);
    PrintTimes(ways);
}

// Highest resident memory of this process so far, in KiB; 0 where the system does
// not tell.
long PeakMemory()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("VmHWM:"))
            return std::stol(line.substr(6));
    return 0;
}

void Once(const std::string& way, const char* plugin, const FileName& file)
{
    const int64_t bytes = way == "plugin"       ? ReadByPlugin(Plugin(plugin), file)
                          : way == "libsndfile" ? ReadBySndfile(file)
                                                : ReadPlain(file);
    std::printf("{\"bytes\": %lld, \"peak_kib\": %ld}\n", static_cast<long long>(bytes),
                PeakMemory());
}

// Nothing is opened for a count of 0, which shows what the program itself costs.
void Opens(const std::string& way, const Plugin& plugin, const FileName& file, int count)
{
    const uint32_t flags = way == "plugin_1_8_16" ? kInfoAndTags : kInfo;
    int tagged = 0;
    for (int i = 0; i < count; ++i)
        (void)(way == "libsndfile" ? OpenBySndfile(file)
                                   : OpenByPlugin(plugin, file, flags, tagged));
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<std::string> arguments(argv, argv + argc);
    const std::string command = argc > 1 ? arguments[1] : "";
    if (command == "decode" && argc == 5)
        Decode(Plugin(argv[2]), std::stoi(arguments[3]), FileName(arguments[4]));
    else if (command == "open" && argc == 5)
        OpenAll(Plugin(argv[2]), std::stoi(arguments[3]), argv[4]);
    else if (command == "once" && argc == 5)
        Once(arguments[2], argv[3], FileName(arguments[4]));
    else if (command == "opens" && argc == 6)
        Opens(arguments[2], Plugin(argv[3]), FileName(arguments[4]), std::stoi(arguments[5]));
    else
        Fail("see the head of Main.cpp for the commands");
    return 0;
}
