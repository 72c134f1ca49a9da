// What a request costs: the index page beside the floor program, spawn to exit, interleaved; the
// account look-up on a small and on a large table, and as a page that is a file, beside PHP and Lua over SQLite;
// requests a second through lighttpd.
//   bench_request [rounds]
#include <fcntl.h>
#include <spawn.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/e2e/web_server.h"
#include "tests/support/log_sink.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Request {
  std::string program;
  std::string query = "QUERY_STRING=example0";
  std::string body = "";
  std::vector<std::string> environment = {};  // more of it
  std::string argument = "";
};

// A program as an installation leaves it: copied in one go. The pages of a file that the linker has just
// written lie in memory in small pieces, which makes every start of it a sixth slower.
std::string installed(const char* program) {
  static const std::string directory = [] {
    char name[] = "/tmp/tarnel-bench-XXXXXX";
    return std::string(mkdtemp(name));
  }();
  std::atexit([] { std::filesystem::remove_all(directory); });
  const std::string copy = directory + "/" + std::filesystem::path(program).filename().string();
  std::filesystem::copy_file(program, copy, std::filesystem::copy_options::overwrite_existing);
  return copy;
}

// A descriptor that reads the given bytes.
int file_of(const std::string& bytes) {
  std::FILE* file = std::tmpfile();
  std::fwrite(bytes.data(), 1, bytes.size(), file);
  std::fflush(file);
  const int fd = dup(fileno(file));
  std::fclose(file);
  return fd;
}

// Microseconds from spawn to exit.
double run_once(const Request& request, int sink) {
  const int input = file_of(request.body);
  lseek(input, 0, SEEK_SET);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, sink, STDOUT_FILENO);
  std::string name = request.program, argument = request.argument;
  std::vector<std::string> environment = request.environment;
  environment.push_back(request.query);
  if (!request.body.empty())
    environment.push_back("CONTENT_LENGTH=" + std::to_string(request.body.size()));
  std::vector<char*> env;
  for (std::string& entry : environment) env.push_back(entry.data());
  env.push_back(nullptr);
  char* argv[] = {name.data(), argument.empty() ? nullptr : argument.data(), nullptr};
  const auto start = Clock::now();
  pid_t pid = 0;
  if (posix_spawn(&pid, name.c_str(), &actions, nullptr, argv, env.data()) != 0) std::exit(1);
  int status = 0;
  waitpid(pid, &status, 0);
  const std::chrono::duration<double, std::micro> elapsed = Clock::now() - start;
  posix_spawn_file_actions_destroy(&actions);
  close(input);
  if (status != 0) std::exit(1);
  return elapsed.count();
}

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

// Medians of two requests that take turns, so that both meet the same weather.
struct Pair {
  double first, second;
};
Pair take_turns(const Request& first, const Request& second, int rounds) {
  const int sink = open("/dev/null", O_WRONLY | O_CLOEXEC);
  std::vector<double> a, b;
  for (int i = 0; i < rounds; ++i) {
    a.push_back(run_once(first, sink));
    b.push_back(run_once(second, sink));
  }
  close(sink);
  return {median(a), median(b)};
}

// The most memory that a request of the index page takes, in KiB.
long peak_of(const std::string& program) {
  const std::string command =
      "env -i QUERY_STRING=example0 " PEAK_PROGRAM " " + program + " 2>&1 >/dev/null";
  std::FILE* pipe = popen(command.c_str(), "r");
  long kib = 0;
  if (pipe == nullptr || std::fscanf(pipe, "%ld", &kib) != 1 || pclose(pipe) != 0) std::exit(1);
  return kib;
}

void compare_index(int rounds) {
  const std::string program = installed(TARNEL_PROGRAM);
  const Pair floor = take_turns({installed(FLOOR_PROGRAM)}, {program}, rounds);
  std::printf("index page    %7.0f us, floor %7.0f us: ratio %.2f, peak %ld KiB\n", floor.second,
              floor.first, floor.second / floor.first, peak_of(program));
  const Pair log = take_turns({installed(LOG_FLOOR_PROGRAM)}, {program}, rounds);
  std::printf(
      "              %7.0f us, floor that logs and looks the account up %7.0f us: ratio %.2f\n",
      log.second, log.first, log.second / log.first);
}

// Makes the user table anew with that many accounts.
void make_accounts(const std::string& directory, int count) {
  std::filesystem::create_directories(directory);
  const std::string rows = std::to_string(count / 1000);
  const std::string script =
      "dbcreate('user', {{'USERID','C',8,0},{'FIRSTNAME','C',20,0},{'MIDDLENAME','C',20,0},"
      "{'LASTNAME','C',20,0},{'BALANCE','N',10,2}})\n"
      "dbusearea(.T.,,'user',,.F.)\n"
      "row := {|x| {dbappend(), fieldput(1, str(recno(), 8)), fieldput(2, 'First')}[1]}\n"
      "thousand := array(1000)\n"
      "aeval(array(" +
      rows +
      "), {|x| {aeval(thousand, row)}[1]})\n"
      "dbcreateindex('user1', 'user->userid')\ndbclosearea()\n";
  const std::string command = "cd " + directory + " && " TNSH_PROGRAM " >/dev/null";
  std::FILE* tnsh = popen(command.c_str(), "w");
  std::fwrite(script.data(), 1, script.size(), tnsh);
  if (pclose(tnsh) != 0) std::exit(1);
}

void compare_lookups(int rounds) {
  make_accounts(SMALL_TABLES, 1000);
  make_accounts(LARGE_TABLES, 1000000);
  const Pair both =
      take_turns({installed(SMALL_PROGRAM), "QUERY_STRING=example3", "ACCOUNT=500"},
                 {installed(LARGE_PROGRAM), "QUERY_STRING=example3", "ACCOUNT=654321"}, rounds);
  std::printf("look-up       %7.0f us among 1,000 accounts, %7.0f us among 1,000,000: ratio %.2f\n",
              both.first, both.second, both.second / both.first);
}

// The same accounts for programs that keep them in SQLite.
void make_database(const std::string& file, int count) {
  std::filesystem::remove(file);
  sqlite3* db = nullptr;
  if (sqlite3_open(file.c_str(), &db) != SQLITE_OK) std::exit(1);
  const std::string script =
      "create table user (userid text primary key, firstname text, middlename text, lastname text, "
      "balance real) without rowid; with recursive n(i) as (select 1 union all select i + 1 from n "
      "where i < " +
      std::to_string(count) +
      ") insert into user select printf('%8d', i), 'First', '', '', 0 from n;";
  if (sqlite3_exec(db, script.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) std::exit(1);
  sqlite3_close(db);
}

void print_ratio(const char* name, const Pair& both) {
  std::printf("%-30s %7.0f us, the page of a file %7.0f us: ratio %.2f\n", name, both.first,
              both.second, both.second / both.first);
}

// The look-up as a page that is a file, beside the compiled one and what else people would take.
void compare_page_files(int rounds) {
  constexpr int kAccounts = 100000;
  make_accounts(LARGE_TABLES, kAccounts);
  const std::string folder = std::filesystem::path(LARGE_TABLES).parent_path() / "pages/",
                    documents = folder + "root/", database = folder + "user.db";
  std::filesystem::create_directories(documents);
  for (const auto& page : std::filesystem::directory_iterator(TARNEL_SOURCE_DIR "/bench/pages"))
    std::filesystem::copy(page, documents, std::filesystem::copy_options::overwrite_existing);
  make_database(database, kAccounts);
  const std::string tnpage = installed(PAGE_PROGRAM);
  std::ofstream(std::filesystem::path(tnpage).parent_path() / "tnpage.conf")
      << "data = " << LARGE_TABLES << "\n";
  const auto request = [&](const std::string& program, const char* page) {
    return Request{program,
                   "QUERY_STRING=",
                   "ACCOUNT=65432",
                   {"DOCUMENT_ROOT=" + documents, "SCRIPT_FILENAME=" + documents + page,
                    "REQUEST_METHOD=POST", "CONTENT_TYPE=application/x-www-form-urlencoded",
                    "REDIRECT_STATUS=200", "DATABASE=" + database},
                   page == std::string("lookup.lua") ? documents + page : ""};
  };
  const Request page = request(tnpage, "lookup.prg");
  print_ratio("the compiled page",
              take_turns({installed(LARGE_PROGRAM), "QUERY_STRING=example3", "ACCOUNT=65432"}, page,
                         rounds));
  print_ratio("as .tnp", take_turns(request(tnpage, "lookup.tnp"), page, rounds));
  for (const auto& [program, file] :
       {std::pair{"/usr/bin/php-cgi", "lookup.php"}, std::pair{"/usr/bin/lua5.4", "lookup.lua"}})
    if (std::filesystem::exists(program))
      print_ratio(file, take_turns(request(program, file), page, rounds / 4));
}

double requests_a_second(const char* program) {
  const tarnel::testing::WebServer server(installed(program));
  constexpr int kClients = 4;
  constexpr auto kTime = std::chrono::seconds(3);
  std::atomic<int> answered = 0;
  std::vector<std::thread> clients;
  const auto end = Clock::now() + kTime;
  for (int i = 0; i < kClients; ++i)
    clients.emplace_back([&] {
      while (Clock::now() < end)
        if (server.request("GET", "/cgi-bin/example0").status == 200) ++answered;
    });
  for (std::thread& client : clients) client.join();
  return answered / std::chrono::duration<double>(kTime).count();
}

}  // namespace

int main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 1000;
  const tarnel::testing::LogSink log("/dev/log");
  compare_index(rounds);
  compare_lookups(rounds / 2);
  compare_page_files(rounds / 2);
  const double floor = requests_a_second(FLOOR_PROGRAM), index = requests_a_second(TARNEL_PROGRAM);
  std::printf("lighttpd      %7.0f index pages a second, floor %7.0f: ratio %.2f\n", index, floor,
              index / floor);
}
