#include "HostHarness.h"

#include <csignal>
#include <thread>
#include <unistd.h>

namespace
{

using namespace std::string_literals;

// Starts aiffconv in the folder, interrupts it when so many more files and folders have
// appeared, and expects that it then removes them again.
void ExpectNoTrace(const Workplace& place, std::vector<const char*> arguments, int signal,
                   size_t appeared)
{
    const Names before = place.List();
    arguments.insert(arguments.begin(), AIFFCONV);
    arguments.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        for (const int one : {SIGINT, SIGTERM, SIGHUP})
            std::signal(one, SIG_DFL); // a test run may ignore them (nohup)
        setenv("QVCODECPATH", place.Path(".codecs").c_str(), 1);
        if (chdir(place.Path("").c_str()) == 0 && freopen("/dev/null", "w", stderr) != nullptr)
            execv(AIFFCONV, const_cast<char* const*>(arguments.data()));
        _exit(99);
    }
    for (int i = 0; i < 10000 && place.List().size() < before.size() + appeared; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_EQ(place.List().size(), before.size() + appeared);
    kill(child, signal);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 130) << signal;
    EXPECT_EQ(place.List(), before) << signal;
}

TEST(Interruption, LeavesNoUnfinishedOutputAndNoNewFolder)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const Workplace place;
        for (const char* name : {"a.fix", "b.fix"}) // each would take more than a minute
            place.Write(name, "FIXTURE blocks=1000 pause=100");
        ExpectNoTrace(place, {"convert", "a.fix", "b.fix", "-o", "out", "-j", "2"}, signal, 3);
    }
    const Workplace place;
    // A WAV file whose gigabyte of silence takes no room on the disk, but time to encode.
    place.Write("in.wav", "RIFF\x24\0\0\x40WAVEfmt \x10\0\0\0\1\0\1\0\x44\xAC\0\0\x88\x58\1\0"
                          "\2\0\x10\0data\0\0\0\x40"s);
    std::filesystem::resize_file(place.Path("in.wav"), (1u << 30) + 44);
    ExpectNoTrace(place, {"encode", "in.wav", "-o", "new/"}, SIGTERM, 2);
}

} // namespace
