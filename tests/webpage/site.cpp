#include "tests/webpage/site.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/e2e/web_server.h"
#include "tests/support/process.h"

namespace tarnel::testing {

Site::Site() {
  for (const char* name : {"root", "data", "bin"}) std::filesystem::create_directory(path(name));
  std::filesystem::copy_file(PAGE_PROGRAM, program());
}

void Site::write(const std::string& name, const std::string& text, int mode) const {
  const std::filesystem::path file = path(name);
  std::filesystem::create_directories(file.parent_path());
  write_file(file, text);
  chmod(file.c_str(), static_cast<mode_t>(mode));
}

void Site::configure(const std::string& lines) const {
  write("bin/tnpage.conf", lines);
}

std::string Site::get(const std::string& page, const std::string& environment,
                      const std::string& body) const {
  return answer("DOCUMENT_ROOT=" + path("root") + " SCRIPT_FILENAME=" + path("root/" + page) +
                    " CONTENT_LENGTH=" + std::to_string(body.size()) + " " + environment,
                body);
}

std::string Site::run(const std::string& statements, const std::string& environment,
                      const std::string& form) const {
  write("root/p.prg", "PROCEDURE main(aEnv, aForm, oState)\n" + statements + "\n");
  return get("p.prg", environment, form);
}

std::string Site::console(const std::string& arguments, const std::string& before) const {
  return output_of("cd " + path("data") + " && " + before + TARNEL_CONSOLE " " + arguments +
                   " 2>&1");
}

std::string Site::post(const std::string& page, const std::string& fields,
                       const std::string& query) const {
  const std::string open = get(page), cookie = "Set-Cookie: tnvisitor=", field = "value=\"";
  const auto behind = [&](const std::string& mark, std::size_t from, std::size_t length) {
    return open.substr(open.find(mark, from) + mark.size(), length);
  };
  return get(page,
             "REQUEST_METHOD=POST HTTP_COOKIE=tnvisitor=" + behind(cookie, 0, 32) +
                 " QUERY_STRING='" + query + "'",
             fields + "&tntoken=" + behind(field, open.find("name=\"tntoken\""), 64));
}

std::string Site::answer(const std::string& environment, const std::string& body) const {
  int status = -1;
  const std::string text =
      run_program(environment, body, &status, program(), "exec 2>" + path("errors"));
  EXPECT_EQ(status, 0) << environment << errors();
  return text;
}

}  // namespace tarnel::testing
