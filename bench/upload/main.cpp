// Measures uploads on 127.0.0.1 in one run, each against a reference measured beside it:
//  - the SDK's client against `curl -F`, both sending one large file to an nginx sink;
//  - quorvel-assets-server's ingest of that `curl -F` body against nginx storing the same body
//    (a WebDAV PUT);
//  - a small upload answered while 24 connections trickle a byte a second, and the time SIGTERM
//    then takes to end the server;
//  - the server's peak memory for a 66 MB results document nested 33 million levels deep.
//
//   quorvel-bench-upload [--size-mib N] [--rounds N]

#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "backend/AssetUploaderWebService.h"
#include "quorvel/platform/Platform.h"
#include "support/ChildProcess.h"
#include "support/LoopbackSockets.h"

namespace {

using namespace quorvel;
using testing::ChildProcess;
namespace fs = std::filesystem;
using SteadyClock = std::chrono::steady_clock;

constexpr const char* kApiKey = "bench-key";
constexpr const char* kAppID = "bench";

[[noreturn]] void fail(const std::string& message) {
  std::fprintf(stderr, "quorvel-bench-upload: %s\n", message.c_str());
  std::exit(1);
}

double secondsSince(SteadyClock::time_point start) {
  return std::chrono::duration<double>(SteadyClock::now() - start).count();
}

ChildProcess start(const std::vector<std::string>& arguments, const fs::path& output) {
  ChildProcess child(arguments, {.output = output, .environment = std::nullopt});
  if (!child.started()) fail("cannot start " + arguments[0]);
  return child;
}

// A port nothing listens on now, for a program that cannot pick its own.
int freePort() {
  std::uint16_t port = 0;
  int fd = testing::listenOnLoopback(port);
  if (fd < 0) fail("cannot find a free port");
  close(fd);
  return port;
}

// Peak resident memory of a process so far, in bytes ("self" for this one).
long peakResidentBytes(const std::string& process = "self") {
  std::ifstream status("/proc/" + process + "/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("VmHWM:", 0) == 0) return std::atol(line.c_str() + 6) * 1024;
  }
  return 0;
}

// Lets this process's peak be measured afresh (writing 5 to clear_refs resets VmHWM).
void resetPeak() { std::ofstream("/proc/self/clear_refs") << "5"; }

std::string uploadURLAt(const std::string& origin) {
  return origin + "/v3/applications/" + kAppID + "/asset-upload";
}

// A quorvel-assets-server of its own, on a free port.
struct AssetsServerProcess {
  ChildProcess child;
  std::string origin;

  explicit AssetsServerProcess(const fs::path& work) {
    fs::path log = work / "server.out";
    fs::remove(log);
    child = start({QUORVEL_ASSETS_SERVER_PROGRAM, "--port", "0", "--storage",
                   (work / "storage").string(), "--api-key", kApiKey},
                  log);
    for (int i = 0; i < 500 && origin.empty(); ++i) {
      std::ifstream in(log);
      std::string text((std::istreambuf_iterator<char>(in)), {});
      auto at = text.find("http://127.0.0.1:");
      if (at != std::string::npos && text.find('\n', at) != std::string::npos)
        origin = text.substr(at, text.find_first_of(" \n", at) - at);
      if (origin.empty()) usleep(10000);
    }
    if (origin.empty()) fail("the assets server did not report its address");
  }
  std::string uploadURL() const { return uploadURLAt(origin); }
  int port() const { return std::atoi(origin.c_str() + origin.rfind(':') + 1); }
};

// nginx from the machine on a private port, prefix and folder: a PUT is stored, and a POST to the
// upload path is taken into a file and answered.
struct NginxProcess {
  ChildProcess child;
  std::string origin;

  std::string uploadURL() const { return uploadURLAt(origin); }

  explicit NginxProcess(const fs::path& work) {
    fs::path prefix = work / "nginx";
    fs::create_directories(prefix / "root");
    fs::create_directories(prefix / "temp");
    const std::string temp = (prefix / "temp").string();
    int port = freePort();
    // One process, no user switch: it runs as whoever runs the bench.
    std::ofstream(prefix / "nginx.conf")
        << "daemon off;\nmaster_process off;\nworker_processes 1;\n"
        << "pid " << (prefix / "nginx.pid").string() << ";\n"
        << "events { worker_connections 64; }\n"
        << "http {\n  access_log off;\n"
        << "  client_body_temp_path " << temp << ";\n  proxy_temp_path " << temp
        << ";\n  fastcgi_temp_path " << temp << ";\n  uwsgi_temp_path " << temp
        << ";\n  scgi_temp_path " << temp << ";\n"
        << "  client_max_body_size 0;\n"
        << "  server {\n    listen 127.0.0.1:" << port
        << ";\n"
        // PUT stores the body as it comes, as an upload server would.
        << "    location / { root " << (prefix / "root").string()
        << "; dav_methods PUT; }\n"
        // The upload path takes the body into a file, then answers as the assets server does:
        // a sink fast enough that only the client's own speed shows.
        << "    location /v3/ { client_body_in_file_only clean; proxy_pass_request_body off;\n"
        << "      proxy_set_header Content-Length \"\"; rewrite ^ /answer break;\n"
        << "      proxy_pass http://127.0.0.1:" << port << "; }\n"
        << "    location = /answer { default_type application/json;\n"
        << "      return 200 '{\"filename\": \"sink\", \"url\": \"http://127.0.0.1/sink\"}'; }\n"
        << "  }\n}\n";
    std::string program = fs::exists("/usr/sbin/nginx") ? "/usr/sbin/nginx" : "nginx";
    child = start({program, "-p", prefix.string(), "-c", (prefix / "nginx.conf").string(), "-e",
                   (prefix / "error.log").string()},
                  prefix / "nginx.out");
    for (int i = 0; i < 500; ++i) {
      int fd = testing::connectToLoopback(port);
      if (fd >= 0) {
        close(fd);
        origin = "http://127.0.0.1:" + std::to_string(port);
        return;
      }
      if (child.exited()) break;
      usleep(10000);
    }
    fail("nginx did not start; scripts/install-deps installs it (see " + prefix.string() + ")");
  }
};

double sdkUpload(const fs::path& file) {
  std::mutex mutex;
  std::condition_variable done;
  bool finished = false;
  std::optional<std::string> error;
  auto begun = SteadyClock::now();
  AssetUploaderWebService(platform(), Environment::production, kAppID, kApiKey)
      .uploadFile(file.string(),
                  [&](std::optional<Dictionary> response, std::optional<std::string> failure) {
                    std::lock_guard lock(mutex);
                    finished = true;
                    error = failure;
                    if (!failure && !(response && response->contains("url")))
                      error = "no url in the answer";
                    done.notify_all();
                  });
  std::unique_lock lock(mutex);
  done.wait(lock, [&] { return finished; });
  if (error) fail("SDK upload failed: " + *error);
  return secondsSince(begun);
}

// `curl -F content=@file`, by POST to the assets server or by PUT to nginx; fails on any error.
double curlUpload(const fs::path& file, const std::string& url, const fs::path& work,
                  const char* method = "POST") {
  auto begun = SteadyClock::now();
  ChildProcess curl = start(
      {"curl", "-sS", "--fail", "-o", "/dev/null", "-X", method, "-H",
       std::string("Authorization: Bearer ") + kApiKey, "-F", "content=@" + file.string(), url},
      work / "curl.out");
  if (curl.wait() != 0) fail(std::string("curl -F (") + method + " " + url + ") failed");
  return secondsSince(begun);
}

// Clients that begin a request and then send a byte a second: half stop inside the request head,
// half inside a body announced as 1 MiB.
class TricklingClients {
 public:
  TricklingClients(int port, int count) {
    for (int i = 0; i < count; ++i) {
      int fd = testing::connectToLoopback(port);
      std::string begun = "POST /v3/applications/" + std::string(kAppID) +
                          "/asset-upload HTTP/1.1\r\nHost: 127.0.0.1\r\n";
      if (i % 2 == 1) {
        begun += std::string("Authorization: Bearer ") + kApiKey +
                 "\r\nContent-Type: multipart/form-data; boundary=b\r\n"
                 "Content-Length: 1048576\r\n\r\n--b\r\n";
      }
      if (fd < 0 || send(fd, begun.data(), begun.size(), MSG_NOSIGNAL) < 0)
        fail("a trickling client could not begin");
      sockets_.push_back(fd);
    }
    thread_ = std::thread([this] {
      while (!stop_) {
        for (int fd : sockets_) send(fd, "X", 1, MSG_NOSIGNAL | MSG_DONTWAIT);
        for (int i = 0; i < 10 && !stop_; ++i)
          std::this_thread::sleep_for(std::chrono::milliseconds(100));
      }
    });
  }
  ~TricklingClients() {
    stop_ = true;
    thread_.join();
    for (int fd : sockets_) close(fd);
  }

 private:
  std::vector<int> sockets_;
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

void writeRandomFile(const fs::path& path, long mebibytes) {
  std::ofstream out(path, std::ios::binary);
  std::mt19937_64 random(42);
  std::vector<std::uint64_t> block(1 << 17);  // 1 MiB
  for (long i = 0; i < mebibytes; ++i) {
    for (auto& word : block) word = random();
    out.write(reinterpret_cast<const char*>(block.data()),
              static_cast<std::streamsize>(block.size() * sizeof block[0]));
  }
}

// A sealed-looking results document whose data nests `levels` arrays.
void writeNestedDocument(const fs::path& path, std::size_t levels) {
  std::ofstream out(path, std::ios::binary);
  out << R"({"sha256":"0000","data":)";
  std::string chunk(1 << 20, '[');
  for (std::size_t left = levels; left > 0; left -= std::min(left, chunk.size()))
    out.write(chunk.data(), static_cast<std::streamsize>(std::min(left, chunk.size())));
  chunk.assign(chunk.size(), ']');
  for (std::size_t left = levels; left > 0; left -= std::min(left, chunk.size()))
    out.write(chunk.data(), static_cast<std::streamsize>(std::min(left, chunk.size())));
  out << "}";
}

// The metadata of the one asset a store holds.
nlohmann::json onlyMetadata(const fs::path& storage) {
  for (const auto& entry : fs::recursive_directory_iterator(storage)) {
    if (entry.path().string().ends_with(".meta.json")) {
      std::ifstream in(entry.path());
      return nlohmann::json::parse(in, nullptr, false);
    }
  }
  fail("the server stored no metadata for the document");
}

}  // namespace

int main(int argc, char** argv) {
  long sizeMiB = 256;
  int rounds = 3;
  for (int i = 1; i < argc; ++i) {
    std::string flag = argv[i];
    if (flag == "--size-mib" && i + 1 < argc) {
      sizeMiB = std::atol(argv[++i]);
    } else if (flag == "--rounds" && i + 1 < argc) {
      rounds = std::atoi(argv[++i]);
    } else {
      std::fprintf(stderr, "usage: quorvel-bench-upload [--size-mib N] [--rounds N]\n");
      return 2;
    }
  }
  if (sizeMiB <= 0 || rounds <= 0) fail("--size-mib and --rounds must be positive");

  char pattern[] = "/tmp/quorvel-bench-XXXXXX";
  if (mkdtemp(pattern) == nullptr) fail("cannot make a work folder");
  fs::path work = pattern;
  fs::path big = work / "payload.bin";
  fs::path small = work / "small.bin";
  fs::path empty = work / "empty.bin";
  writeRandomFile(big, sizeMiB);
  writeRandomFile(small, 1);
  std::ofstream(empty, std::ios::binary).close();

  AssetsServerProcess server(work);
  NginxProcess nginx(work);
  Platform p;
  p.hostBundle =
      std::make_shared<StaticHostBundle>(Dictionary{{"QuorvelAssetsHostProduction", nginx.origin}});
  installPlatform(p);

  // The baseline: everything an upload needs (curl, TLS, threads) with no payload.
  resetPeak();
  sdkUpload(empty);
  long emptyPeak = peakResidentBytes();
  resetPeak();

  // Each round sends the same file three ways, one after the other, so that a slower moment of the
  // machine's disk weighs on all three alike.
  // The clients send to nginx's sink; the servers are fed by curl -F.
  double sdkToSink = 1e9, curlToSink = 1e9, curlToServer = 1e9, curlToNginx = 1e9;
  for (int round = 0; round < rounds; ++round) {
    sdkToSink = std::min(sdkToSink, sdkUpload(big));
    curlToSink = std::min(curlToSink, curlUpload(big, nginx.uploadURL(), work));
    curlToServer = std::min(curlToServer, curlUpload(big, server.uploadURL(), work));
    curlToNginx =
        std::min(curlToNginx,
                 curlUpload(big, nginx.origin + "/upload-" + std::to_string(round), work, "PUT"));
    fs::remove_all(work / "storage" / kAppID);  // keep the disk from filling up
    fs::remove_all(work / "nginx" / "root");
    fs::create_directories(work / "nginx" / "root");
  }
  long bigPeak = peakResidentBytes();
  nginx.child.stop();

  // Slow clients hold only their own connections: a small upload among them, then SIGTERM.
  double slowestAmongTricklers = 0, stopAmongTricklers = 0;
  {
    TricklingClients tricklers(server.port(), 24);
    std::this_thread::sleep_for(std::chrono::seconds(3));
    for (int i = 0; i < 3; ++i)
      slowestAmongTricklers =
          std::max(slowestAmongTricklers, curlUpload(small, server.uploadURL(), work));
    auto begun = SteadyClock::now();
    server.child.stop(std::chrono::seconds(10));
    stopAmongTricklers = secondsSince(begun);
  }

  // A results document nested 33 million levels deep, to a fresh server.
  fs::remove_all(work / "storage");
  fs::path document = work / "jsonResults.json";
  writeNestedDocument(document, 33'000'000);
  AssetsServerProcess sealServer(work);
  curlUpload(document, sealServer.uploadURL(), work);
  long sealPeak = peakResidentBytes(std::to_string(sealServer.child.pid()));
  nlohmann::json metadata = onlyMetadata(work / "storage");
  sealServer.child.stop();
  double documentMB = static_cast<double>(fs::file_size(document)) / 1e6;
  fs::remove_all(work);

  double megabytes = static_cast<double>(sizeMiB) * 1048576.0 / 1e6;
  std::printf("uploads of %ld MiB on 127.0.0.1, best of %d rounds\n", sizeMiB, rounds);
  std::printf("  SDK client to nginx's sink:            %8.1f MB/s\n", megabytes / sdkToSink);
  std::printf("  curl -F to nginx's sink:               %8.1f MB/s\n", megabytes / curlToSink);
  std::printf("  client ratio SDK / curl -F:            %8.2f   (goal >= 1.0)\n",
              curlToSink / sdkToSink);
  std::printf("  curl -F to quorvel-assets-server:      %8.1f MB/s\n", megabytes / curlToServer);
  std::printf("  curl -F (PUT, stored) to nginx:        %8.1f MB/s\n", megabytes / curlToNginx);
  std::printf(
      "  server ratio quorvel / nginx ingest:   %8.2f   (goal >= 0.5; quorvel hashes "
      "and syncs to disk before answering, nginx does neither)\n",
      curlToNginx / curlToServer);
  std::printf(
      "  SDK peak memory: empty upload %.1f MB, large upload %.1f MB, growth %.1f MB "
      "(goal < 16 MB)\n",
      emptyPeak / 1e6, bigPeak / 1e6, (bigPeak - emptyPeak) / 1e6);
  std::printf("with 24 clients trickling a byte a second\n");
  std::printf("  slowest of 3 uploads of 1 MiB:         %8.3f s   (goal < 1 s)\n",
              slowestAmongTricklers);
  std::printf("  SIGTERM to exit:                       %8.3f s   (goal < 5 s)\n",
              stopAmongTricklers);
  std::printf("a %.0f MB results document nested 33 million levels deep\n", documentMB);
  std::printf("  server peak memory:                    %8.1f MB  (goal < 100 MB)\n",
              sealPeak / 1e6);
  std::printf("  seal_valid:                            %8s   (goal false)\n",
              metadata.value("seal_valid", nlohmann::json()).dump().c_str());
  return 0;
}
