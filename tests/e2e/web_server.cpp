#include "tests/e2e/web_server.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>

#include "core/output.h"
#include "tests/support/files.h"
#include "tests/support/process.h"

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

// The server's name among the configurations, and the programs to start with it.
struct ServerProgram {
  const char* name;
  std::vector<std::string> command;
  std::vector<std::string> helper;
};

ServerProgram program_of(Server kind, const std::string& directory) {
  const std::string conf = directory + "/server.conf";
  switch (kind) {
    case Server::kApache:
      return {"apache2", {"apache2", "-X", "-f", conf}, {}};
    case Server::kNginx:
      return {"nginx",
              {"nginx", "-c", conf},
              {"fcgiwrap", "-s", "unix:" + directory + "/fcgiwrap.socket"}};
    case Server::kLighttpd:
      break;
  }
  return {"lighttpd", {"lighttpd", "-D", "-f", conf}, {}};
}

bool wait_for(const std::function<bool()>& ready) {
  for (int i = 0; i < 200 && !ready(); ++i) usleep(50000);
  return ready();
}

}  // namespace

void WebServer::start(const std::vector<std::string>& command) {
  const pid_t pid = fork();
  if (pid != 0) {
    processes_.push_back(pid);
    return;
  }
  std::vector<char*> argv;
  for (const std::string& word : command) argv.push_back(const_cast<char*>(word.c_str()));
  argv.push_back(nullptr);
  setenv("PATH", "/usr/sbin:/usr/bin:/sbin:/bin", 1);
  const int log = open((directory_ + "/output.log").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0666);
  dup2(log, STDOUT_FILENO);
  dup2(log, STDERR_FILENO);
  execvp(argv[0], argv.data());
  _exit(127);
}

namespace {

std::string fresh_directory() {
  char name[] = "/tmp/tarnel-e2e-XXXXXX";
  return mkdtemp(name);
}

}  // namespace

WebServer::WebServer(const std::string& program, Server kind)
    : port_(free_port()), directory_(fresh_directory()) {
  const std::string files = directory_ + "/www";
  std::filesystem::copy(TARNEL_SOURCE_DIR "/examples/www", files);
  for (const char* table : {"/user.dbf", "/user.DBT", "/user1.idx"})
    std::ofstream(files + table) << "no file to fetch";
  run(program, kind, files, "");
}

WebServer::WebServer(const std::string& program, Server kind, const std::string& pages)
    : port_(free_port()), directory_(fresh_directory()) {
  run(program, kind, pages, " pages");
}

void WebServer::run(const std::string& program, Server kind, const std::string& files,
                    const char* site) {
  const std::string examples = TARNEL_SOURCE_DIR "/examples", installed = directory_ + "/example0";
  std::filesystem::create_symlink(program, installed);
  const ServerProgram server = program_of(kind, directory_);
  const std::string command = examples + "/web-conf " + server.name + " " + std::to_string(port_) +
                              " " + installed + " " + files + " " + directory_ + site + " > " +
                              directory_ + "/server.conf";
  // A server that drops its rights must still reach its files.
  if (std::system(command.c_str()) != 0 || chmod(directory_.c_str(), 0777) != 0) return;
  if (!server.helper.empty()) {
    start(server.helper);
    const std::string socket = directory_ + "/fcgiwrap.socket";
    if (!wait_for([&] { return access(socket.c_str(), F_OK) == 0; })) return;
    chmod(socket.c_str(), 0777);
  }
  start(server.command);
  running_ = wait_for([this] {
    const int fd = connect_to(port_);
    if (fd >= 0) close(fd);
    return fd >= 0;
  });
}

WebServer::~WebServer() {
  for (const int pid : processes_) {
    kill(pid, SIGTERM);
    waitpid(pid, nullptr, 0);
  }
  std::filesystem::remove_all(directory_);
}

Response WebServer::request(const std::string& method, const std::string& path,
                            const std::string& body, std::size_t unsent,
                            const std::string& headers) const {
  const int fd = connect_to(port_);
  std::string text = method + " " + path + " HTTP/1.0\r\nHost: localhost\r\n" + headers;
  if (body.size() + unsent > 0)
    text += "Content-Type: application/x-www-form-urlencoded\r\nContent-Length: " +
            std::to_string(body.size() + unsent) + "\r\n";
  write_fully(fd, text + "\r\n" + body);
  if (unsent > 0) shutdown(fd, SHUT_WR);  // a server may wait for more of what it refused
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

std::string run_program(const std::string& environment, const std::string& input, int* status,
                        const std::string& program, const std::string& before) {
  const Folder folder;
  folder.write("input", input);
  return output_of("exec < " + folder.path("input") + "\n" + before + "\nexec env -i " +
                       environment + " " + program,
                   status);
}

}  // namespace tarnel::testing
