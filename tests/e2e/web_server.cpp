#include "tests/e2e/web_server.h"

#include <arpa/inet.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "core/output.h"

namespace tarnel::testing {
namespace {

sockaddr_in loopback(int port) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

int connect_to(int port) {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  const sockaddr_in address = loopback(port);
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return fd;
  close(fd);
  return -1;
}

// A port that the system just gave out, and so is free.
int free_port() {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address = loopback(0);
  socklen_t size = sizeof address;
  bind(fd, reinterpret_cast<const sockaddr*>(&address), size);
  getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
  close(fd);
  return ntohs(address.sin_port);
}

std::string read_all(int fd) {
  std::string all;
  char buffer[65536];
  ssize_t n;
  while ((n = read(fd, buffer, sizeof buffer)) > 0) all.append(buffer, static_cast<std::size_t>(n));
  return all;
}

}  // namespace

WebServer::WebServer(const std::string& program) : port_(free_port()) {
  char name[] = "/tmp/tarnel-e2e-XXXXXX";
  close(mkstemp(name));
  conf_ = name;
  const std::string source = TARNEL_SOURCE_DIR;
  const std::string command = source + "/scripts/lighttpd-conf " + std::to_string(port_) + " " +
                              program + " " + source + "/examples/www > " + conf_;
  if (std::system(command.c_str()) != 0) return;
  pid_ = fork();
  if (pid_ == 0) {
    setenv("PATH", "/usr/sbin:/usr/bin:/sbin:/bin", 1);
    execlp("lighttpd", "lighttpd", "-D", "-f", conf_.c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  for (int i = 0; i < 100; ++i) {
    if (const int fd = connect_to(port_); fd >= 0) {
      close(fd);
      return;
    }
    usleep(50000);
  }
  kill(pid_, SIGKILL);
  pid_ = -1;
}

WebServer::~WebServer() {
  if (pid_ > 0) {
    kill(pid_, SIGTERM);
    waitpid(pid_, nullptr, 0);
  }
  unlink(conf_.c_str());
}

Response WebServer::request(const std::string& method, const std::string& path,
                            const std::string& body) const {
  const int fd = connect_to(port_);
  std::string text = method + " " + path + " HTTP/1.0\r\nHost: localhost\r\n";
  if (!body.empty())
    text += "Content-Type: application/x-www-form-urlencoded\r\nContent-Length: " +
            std::to_string(body.size()) + "\r\n";
  write_fully(fd, text + "\r\n" + body);
  const std::string answer = read_all(fd);
  close(fd);
  Response response;
  const std::size_t blank = answer.find("\r\n\r\n");
  if (blank == std::string::npos) return response;
  response.headers = answer.substr(0, blank);
  response.body = answer.substr(blank + 4);
  response.status = std::atoi(answer.c_str() + answer.find(' '));
  return response;
}

std::string run_program(const std::string& environment, const std::string& input, int* status) {
  FILE* file = std::tmpfile();
  std::fwrite(input.data(), 1, input.size(), file);
  std::rewind(file);
  int ends[2];
  if (pipe(ends) != 0) return "";
  const pid_t pid = fork();
  if (pid == 0) {
    dup2(fileno(file), STDIN_FILENO);
    dup2(ends[1], STDOUT_FILENO);
    const std::string command = "exec env -i " + environment + " " TARNEL_PROGRAM;
    execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  close(ends[1]);
  const std::string output = read_all(ends[0]);
  close(ends[0]);
  std::fclose(file);
  waitpid(pid, status, 0);
  *status = WIFEXITED(*status) ? WEXITSTATUS(*status) : -WTERMSIG(*status);
  return output;
}

}  // namespace tarnel::testing
