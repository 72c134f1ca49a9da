// The built program behind a real lighttpd on a free loopback port, and HTTP by hand.
#pragma once

#include <string>

namespace tarnel::testing {

struct Response {
  int status = 0;
  std::string headers;
  std::string body;
};

class WebServer {
 public:
  explicit WebServer(const std::string& program = TARNEL_PROGRAM);
  ~WebServer();
  WebServer(const WebServer&) = delete;
  WebServer& operator=(const WebServer&) = delete;

  bool running() const { return pid_ > 0; }
  // Sends one request on a connection of its own and reads the answer to its end.
  Response request(const std::string& method, const std::string& path,
                   const std::string& body = "") const;

 private:
  int port_ = 0;
  int pid_ = -1;
  std::string conf_;
};

// What the program writes to standard output, started by hand with the given environment entries
// and nothing else; `input` is its standard input. `status` receives its exit status.
std::string run_program(const std::string& environment, const std::string& input, int* status);

}  // namespace tarnel::testing
