// SPDX-License-Identifier: MIT

// bench_codec PLUGIN REPETITIONS PATH WAY...
//
// Runs each way on a file, or on all files of a folder, once to warm up and then REPETITIONS
// times, and prints JSON: for each way the result and the seconds of every repetition, and the
// peak memory of the process. The ways take turns within a repetition, and each repetition
// starts with another one, so that a disturbance affects all equally.
#include "Ways.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
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
    if (argc < 5)
        Fail("usage: bench_codec PLUGIN REPETITIONS PATH WAY...");
    const auto ways = AllWays(argv[1]);
    const std::vector<std::string> files = FilesAt(argv[3]);
    std::vector<Course> courses;
    std::vector<int64_t> results;
    for (int i = 4; i < argc; ++i) {
        courses.push_back({argv[i], ways.at(argv[i])});
        results.push_back(Go(courses.back(), files));
        courses.back().seconds.clear();
    }
    const size_t repetitions = std::stoul(argv[2]);
    for (size_t repetition = 0; repetition < repetitions; ++repetition)
        for (size_t turn = 0; turn < courses.size(); ++turn) {
            const size_t chosen = (turn + repetition) % courses.size();
            if (Go(courses[chosen], files) != results[chosen])
                Fail(courses[chosen].name + " gave different results");
        }
    std::printf("{");
    for (size_t i = 0; i < courses.size(); ++i)
        Print(courses[i], results[i]);
    std::printf("\"peak_kib\": %ld}\n", PeakMemory());
    return 0;
}
