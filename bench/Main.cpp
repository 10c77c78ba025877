// SPDX-License-Identifier: MIT

// bench_codec [--restore] PLUGIN REPETITIONS PATH WAY...
//
// Runs each way on a file, or on all files of a folder, once to warm up and then REPETITIONS
// times, and prints JSON: for each way the result and the seconds of every repetition, and the
// peak memory of the process. The ways take turns within a repetition, and each repetition
// starts with another one, so that a disturbance affects all equally. With --restore, every way
// finds the files as they were at first; putting them back is not measured.
#include "Ways.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <span>
#include <vector>

namespace
{

std::vector<std::string> FilesAt(const std::string& path)
{
    if (!std::filesystem::is_directory(path))
        return {path};
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(path))
        files.push_back(entry.path().string());
    return files;
}

// Files and what was in them at first.
using Contents = std::map<std::string, std::string>;

Contents Keep(const std::vector<std::string>& files)
{
    Contents contents;
    for (const std::string& file : files) {
        std::ifstream in(file, std::ios::binary);
        contents[file].assign(std::istreambuf_iterator(in), {});
    }
    return contents;
}

void Restore(const Contents& contents)
{
    for (const auto& [file, content] : contents) {
        std::fstream out(file, std::ios::binary | std::ios::in | std::ios::out);
        if (!out.write(content.data(), static_cast<std::streamsize>(content.size())).flush())
            Fail("cannot restore " + file);
        std::filesystem::resize_file(file, content.size());
    }
}

struct Course {
    std::string name;
    Way way;
    std::vector<double> seconds = {};
};

// Returns the sum of the results of all files; checksums may wrap around.
int64_t Go(Course& course, const std::vector<std::string>& files)
{
    uint64_t result = 0;
    const auto start = std::chrono::steady_clock::now();
    for (const std::string& file : files)
        result += static_cast<uint64_t>(course.way(file));
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    course.seconds.push_back(time.count());
    return static_cast<int64_t>(result);
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

void Print(const Course& course, int64_t result)
{
    std::printf("\"%s\": {\"result\": %lld, \"seconds\": [", course.name.c_str(),
                static_cast<long long>(result));
    for (const double& time : course.seconds)
        std::printf("%s%.9f", &time == course.seconds.data() ? "" : ", ", time);
    std::printf("]}, ");
}

} // namespace

int main(int argc, char** argv)
{
    std::span<char*> arguments(argv + 1, argv + argc);
    const bool restores = !arguments.empty() && std::string(arguments[0]) == "--restore";
    arguments = arguments.subspan(restores);
    if (arguments.size() < 4)
        Fail("usage: bench_codec [--restore] PLUGIN REPETITIONS PATH WAY...");
    const auto ways = AllWays(arguments[0]);
    const size_t repetitions = std::stoul(arguments[1]);
    const std::vector<std::string> files = FilesAt(arguments[2]);
    const Contents contents = restores ? Keep(files) : Contents();
    std::vector<Course> courses;
    std::vector<int64_t> results;
    for (const char* way : arguments.subspan(3)) {
        courses.push_back({way, ways.at(way)});
        results.push_back(Go(courses.back(), files));
        Restore(contents);
        courses.back().seconds.clear();
    }
    for (size_t repetition = 0; repetition < repetitions; ++repetition)
        for (size_t turn = 0; turn < courses.size(); ++turn) {
            const size_t chosen = (turn + repetition) % courses.size();
            if (Go(courses[chosen], files) != results[chosen])
                Fail(courses[chosen].name + " gave different results");
            Restore(contents);
        }
    std::printf("{");
    for (size_t i = 0; i < courses.size(); ++i)
        Print(courses[i], results[i]);
    std::printf("\"peak_kib\": %ld}\n", PeakMemory());
    return 0;
}
