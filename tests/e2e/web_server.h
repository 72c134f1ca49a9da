// The built program behind a real web server on a free loopback port, and HTTP by hand.
#pragma once

#include <string>
#include <vector>

namespace tarnel::testing {

struct Response {
  int status = 0;
  std::string headers;
  std::string body;
};

enum class Server { kLighttpd, kApache, kNginx };

// Starts the server with the configuration of examples/ and stops it with the object. The program has its
// installed name; beside the static files lie some named like tables.
class WebServer {
 public:
  explicit WebServer(const std::string& program = TARNEL_PROGRAM, Server kind = Server::kLighttpd);
  // The program runs the pages of a folder.
  WebServer(const std::string& program, Server kind, const std::string& pages);
  ~WebServer();
  WebServer(const WebServer&) = delete;
  WebServer& operator=(const WebServer&) = delete;

  bool running() const { return running_; }
  int port() const { return port_; }
  // Sends one request on a connection of its own and reads the answer to its end. `headers` are further lines, each
  // with its CR LF. The length that it
  // tells counts `unsent` bytes that never come.
  Response request(const std::string& method, const std::string& path, const std::string& body = "",
                   std::size_t unsent = 0, const std::string& headers = "") const;

 private:
  void run(const std::string& program, Server kind, const std::string& files, const char* site);
  void start(const std::vector<std::string>& command);

  int port_;
  std::string directory_;  // the server's own files
  std::vector<int> processes_;
  bool running_ = false;
};

// What a program writes to standard output, started by hand with the given environment entries
// and nothing else; `input` is its standard input. `status` receives its exit status, below 0 a
// signal's number. `before` is shell text that prepares the process.
std::string run_program(const std::string& environment, const std::string& input, int* status,
                        const std::string& program = TARNEL_PROGRAM,
                        const std::string& before = "");

}  // namespace tarnel::testing
