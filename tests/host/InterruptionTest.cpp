#include "HostHarness.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{

// Starts aiffconv in the folder of `place`; its own messages are thrown away.
pid_t Start(const Workplace& place, std::vector<const char*> arguments)
{
    arguments.insert(arguments.begin(), AIFFCONV);
    arguments.push_back(nullptr);
    const pid_t child = fork();
    if (child != 0)
        return child;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        std::signal(signal, SIG_DFL); // a test run may ignore them (nohup)
    setenv("QVCODECPATH", place.Codecs().c_str(), 1);
    const bool ready =
        chdir(place.Path("").c_str()) == 0 && freopen("/dev/null", "w", stderr) != nullptr;
    if (ready)
        execv(AIFFCONV, const_cast<char* const*>(arguments.data()));
    _exit(99);
}

TEST(Interruption, LeavesNoUnfinishedOutputAndNoNewFolder)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const Workplace place;
        // Would take more than a minute each.
        place.Write("a.fix", "FIXTURE blocks=1000 pause=100");
        place.Write("b.fix", "FIXTURE blocks=1000 pause=100");
        const std::vector<std::string> before = place.Names();
        const pid_t child = Start(place, {"convert", "a.fix", "b.fix", "-o", "out", "-j", "2"});
        for (int i = 0; i < 1000 && place.Names().size() < before.size() + 3; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        EXPECT_EQ(place.Names().size(), before.size() + 3); // the folder and two temporary files
        kill(child, signal);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 130) << signal;
        EXPECT_EQ(place.Names(), before) << signal;
    }
}

TEST(Interruption, LeavesNoHalfAiffFile)
{
    const Workplace place;
    // A WAV file whose gigabyte of silence takes no room on the disk, but time to encode.
    const uint32_t size = 1u << 30;
    const std::string length("\0\0\0\x40", 4);
    place.Write("in.wav", std::string("RIFF\x24\0\0\x40WAVEfmt \x10\0\0\0\1\0\1\0\x44\xAC\0\0"
                                      "\x88\x58\1\0\2\0\x10\0data",
                                      40) +
                              length);
    std::filesystem::resize_file(place.Path("in.wav"), size + 44);
    const pid_t child = Start(place, {"encode", "in.wav", "-o", "new/"});
    while (place.Names().size() < 3 && waitpid(child, nullptr, WNOHANG) == 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    kill(child, SIGTERM);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 130);
    EXPECT_EQ(place.Names(), std::vector<std::string>{"in.wav"});
}

} // namespace
