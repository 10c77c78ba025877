// Streams from nginx, started for the test on a free port in a folder of its own.

#include "ScriptServer.h"
#include "support/PluginDriver.h"

#include <sys/wait.h>

namespace
{

constexpr uint32_t kDecode = QV_OPEN_PREPARE_DECODE | QV_OPEN_AUDIO_INFO;

#ifndef NGINX_PROGRAM
#define NGINX_PROGRAM ""
#endif

// Serves the folder below /ranges/, without ranges below /plain/, gzipped (and so
// chunked) below /zipped/ for clients that allow it, and redirects from /moved/.
class Nginx
{
public:
    explicit Nginx(const TempDir& dir)
    {
        const std::string root = dir.Path("");
        std::string temps;
        for (const char* kind : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"})
            temps += std::string(kind) + "_temp_path " + root + kind + ";\n";
        const std::string config =
            "daemon off; master_process off; pid " + root + "pid; error_log " + root +
            "log;\nevents {}\nhttp { access_log off;\n" + temps +
            "server { listen 127.0.0.1:" + std::to_string(m_port) + ";\n" +
            "location /ranges/ { alias " + root + "; }\n" + "location /plain/ { alias " + root +
            "; max_ranges 0; }\n" + "location /zipped/ { alias " + root +
            "; gzip on; gzip_types *; gzip_min_length 1; }\n" +
            "location /moved/ { rewrite ^/moved/(.*) /ranges/$1 permanent; } } }\n";
        const std::string file = dir.Write("conf", Text(config));
        m_process = fork();
        if (m_process == 0) {
            execl(NGINX_PROGRAM, NGINX_PROGRAM, "-p", root.c_str(), "-e", (root + "log").c_str(),
                  "-c", file.c_str(), nullptr);
            _exit(127);
        }
    }
    Nginx(const Nginx&) = delete;
    Nginx& operator=(const Nginx&) = delete;
    ~Nginx()
    {
        kill(m_process, SIGTERM);
        waitpid(m_process, nullptr, 0);
    }

    std::string Url(const std::string& path) const
    {
        return "http://127.0.0.1:" + std::to_string(m_port) + path;
    }

private:
    uint16_t m_port = ScriptServer().Port(); // free a moment ago
    pid_t m_process;
};

class NginxTest : public PluginTest
{
protected:
    void SetUp() override
    {
        if (std::string(NGINX_PROGRAM).empty())
            GTEST_SKIP() << "nginx is not installed";
    }
};

// What the file decoder makes of the same bytes stands behind the sound chunk's own 8
// bytes.
TEST_F(NginxTest, StreamsEqualFilesWithAndWithoutRanges)
{
    const Bytes pcm = Noise(3000000);
    const std::string path =
        dir.Write("a b%.aif", AiffBuilder().Comm(2, 24, 96000).Ssnd(pcm).Build());
    Instance local(plugin);
    ASSERT_EQ(local.Open(path, kDecode), 1);
    const Bytes expected = local.Rest();
    // The prefix is no whole frame: the last one is cut.
    const Bytes whole = HostOrder(Join({Bytes(8), pcm}), 24);
    const Bytes heard = Front(whole, whole.size() / 6 * 6);
    ASSERT_EQ(expected, HostOrder(pcm, 24));

    const Nginx nginx(dir);
    for (const char* folder : {"/ranges/", "/plain/", "/zipped/", "/moved/"}) {
        SCOPED_TRACE(folder);
        Instance stream(plugin, report);
        int opened = 0;
        for (int i = 0; i < 200 && opened == 0; ++i) { // nginx takes a moment to start
            if (i != 0)
                std::this_thread::sleep_for(std::chrono::milliseconds(25));
            opened = stream.Open(nginx.Url(folder) + "a b%.aif", kDecode);
        }
        ASSERT_EQ(opened, 1) << report.Take(kInformation);
        EXPECT_EQ(stream.Rest(), heard);
        const bool seeks = std::string(folder) != "/plain/";
        ASSERT_EQ(stream.Seek(400000), seeks ? 1 : 0);
        if (seeks) {
            EXPECT_EQ(stream.Rest(), From(heard, 2400000));
        }
    }
    Instance missing(plugin, report);
    report.Take(kInformation);
    EXPECT_EQ(missing.Open(nginx.Url("/ranges/none.aif"), kDecode), 0);
    EXPECT_EQ(report.Take(kInformation), Lines("Cannot open stream: status 404  [Open]\n"));
}

} // namespace
