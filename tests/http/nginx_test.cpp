// SPDX-License-Identifier: MIT

// Streams from nginx, started for the test on a free port in a folder of its own.

#include "StreamHarness.h"

#include <sys/wait.h>

#ifndef NGINX_PROGRAM
#define NGINX_PROGRAM ""
#endif

namespace
{

// Serves the folder @ below /ranges/, without ranges below /plain/, gzipped (and so
// chunked) below /zipped/ for clients that allow it, and redirects from /moved/.
constexpr char kConfiguration[] = R"(
daemon off; master_process off; pid @pid; error_log @log; events {}
http { access_log off; client_body_temp_path @1; proxy_temp_path @2; fastcgi_temp_path @3;
uwsgi_temp_path @4; scgi_temp_path @5; server { listen 127.0.0.1:#;
location /ranges/ { alias @; }
location /plain/ { alias @; max_ranges 0; }
location /zipped/ { alias @; gzip on; gzip_types *; gzip_min_length 1; }
location /moved/ { rewrite ^/moved/(.*) /ranges/$1 permanent; } } })";

TEST_F(StreamTest, OfNginxEqualsTheFileWithAndWithoutRanges)
{
    if (std::string(NGINX_PROGRAM).empty())
        GTEST_SKIP() << "nginx is not installed";
    const std::string port = std::to_string(ScriptServer().Port()); // free a moment ago
    const std::string root = dir.Path(""), log = root + "log", file = root + "conf";
    std::string text = kConfiguration;
    text.replace(text.find('#'), 1, port);
    for (size_t at = text.find('@'); at != std::string::npos; at = text.find('@'))
        text.replace(at, 1, root);
    dir.Write("conf", Text(text));
    const pid_t nginx = fork();
    if (nginx == 0)
        _exit(execl(NGINX_PROGRAM, NGINX_PROGRAM, "-p", root.c_str(), "-e", log.c_str(), "-c",
                    file.c_str(), nullptr));
    const auto stop = [](const pid_t* process) {
        kill(*process, SIGTERM);
        waitpid(*process, nullptr, 0);
    };
    const std::unique_ptr<const pid_t, decltype(stop)> stopper(&nginx, stop);

    const Bytes pcm = Noise(3000000);
    dir.Write("a b%.aif", AiffBuilder().Comm(2, 24, 96000).Ssnd(pcm));
    const std::string url = "http://127.0.0.1:" + port;
    for (const std::string folder : {"/ranges/", "/plain/", "/zipped/", "/moved/"}) {
        SCOPED_TRACE(folder);
        Instance stream(plugin, report);
        STQvCodecGetSet record = {};
        record.nValue1 = folder == "/plain/" || folder == "/ranges/" ? 1 : 0;
        EXPECT_EQ(plugin.Set(stream.handle, QV_KEY_EXACT_STREAMS, &record), 1);
        const Bytes heard = record.nValue1 == 1 ? HostOrder(pcm, 24)
                                                : Front(Heard(pcm, 24), 3000006); // whole frames
        int opened = 0;
        for (int i = 0; i < 200 && opened == 0; ++i) { // nginx takes a moment to start
            std::this_thread::sleep_for(std::chrono::milliseconds(i == 0 ? 0 : 25));
            opened = stream.Open(url + folder + "a b%.aif", kDecode);
        }
        ASSERT_EQ(opened, 1) << report.Take(kInformation);
        EXPECT_EQ(stream.Rest(), heard);
        const bool seeks = folder != "/plain/";
        ASSERT_EQ(stream.Seek(400000), seeks ? 1 : 0);
        EXPECT_EQ(stream.Rest(), seeks ? From(heard, 2400000) : Bytes());
    }
    Instance missing(plugin, report);
    report.Take(kInformation);
    EXPECT_EQ(missing.Open(url + "/ranges/none.aif", kDecode), 0);
    EXPECT_EQ(report.Take(kInformation), Lines("Cannot open stream: status 404  [Open]\n"));
}

} // namespace
