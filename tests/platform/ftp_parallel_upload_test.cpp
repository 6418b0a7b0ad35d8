// Eight threads upload 200 files at once to a real local FTP server, each over its own
// connection: every file arrives once, byte for byte.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/ftp_client.h"
#include "support/file_bytes.h"
#include "support/temp_dir.h"

namespace lmk {
namespace {

namespace fs = std::filesystem;

TEST(FtpParallelUpload, EveryFileArrivesOnceIntact) {
  if (::access("/usr/bin/python3", X_OK) != 0) GTEST_SKIP() << "no /usr/bin/python3";
  test::ScopedTempDir dir;
  fs::create_directories(dir / "root");
  fs::create_directories(dir / "local");
  // The command-line cases' server, killed when the test ends.
  const std::string script = std::string(LMK_TEST_DATA_DIR) + "/../cli/ftp_server.py";
  const pid_t server = ::fork();
  if (server == 0) {
    ::execl("/usr/bin/python3", "python3", script.c_str(), (dir / "root").c_str(),
            (dir / "port").c_str(), "--password", "p@ss", static_cast<char*>(nullptr));
    ::_exit(127);
  }
  const std::shared_ptr<void> stop(nullptr, [server](void*) {
    ::kill(server, SIGTERM);
    ::waitpid(server, nullptr, 0);
  });
  for (int n = 0; n < 100 && !fs::exists(dir / "port"); ++n) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  if (!fs::exists(dir / "port"))
    GTEST_SKIP() << "the FTP server did not start (python3-pyftpdlib?)";
  const auto port = static_cast<unsigned>(std::stoul(test::ReadBytes(dir / "port")));

  constexpr int kThreads = 8;
  constexpr int kFiles = 200;
  for (int n = 0; n < kFiles; ++n) {
    std::ofstream(dir / "local" / (std::to_string(n) + ".jpg"), std::ios::binary)
        << std::string(1000 + n * 37, static_cast<char>('a' + n % 26)) << n;
  }
  std::vector<std::wstring> errors(kThreads);
  std::vector<std::thread> workers;
  for (int t = 0; t < kThreads; ++t) {
    workers.emplace_back([&, t] {
      for (int n = t; n < kFiles; n += kThreads) {
        const FtpAddress target{
            FtpScheme::kFtp,
            L"127.0.0.1",
            port,
            L"anna",
            L"p@ss",
            true,
            L"/up/" + std::to_wstring(n % 5) + L"/" + std::to_wstring(n) + L".jpg"};
        const fs::path local = dir / "local" / (std::to_string(n) + ".jpg");
        std::wstring error;
        if (FAILED(ThreadFtpClient().Upload(target, local.wstring(), true, true, &error))) {
          errors[t] += std::to_wstring(n) + L": " + error + L"\n";
        }
      }
    });
  }
  for (std::thread& worker : workers) worker.join();
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(errors[t], L"") << "thread " << t;

  int arrived = 0;
  for (const auto& entry : fs::recursive_directory_iterator(dir / "root")) {
    if (!entry.is_regular_file()) continue;
    ++arrived;
    const fs::path local = dir / "local" / entry.path().filename();
    EXPECT_EQ(test::ReadBytes(entry.path()), test::ReadBytes(local)) << entry.path();
  }
  EXPECT_EQ(arrived, kFiles);
}

}  // namespace
}  // namespace lmk
