// What the tests of tables share: a directory of their own, the front functions by name, files as
// bytes, and the errors of the driver as texts.
#pragma once

#include <sys/types.h>

#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "db/dbfidx/dbfidx.h"
#include "tests/support/files.h"
#include "tests/support/test_runtime.h"

namespace tarnel::testing {

// One row of a structure.
struct FieldRow {
  const char* name;
  const char* type;
  int length;
  int decimals;
};

Var* text(std::string_view value);
Var* number(double value, int decimals = 0);
Var* integer(std::int32_t value);
Var* structure(std::initializer_list<FieldRow> rows);

// Calls a function of the language by name.
Var* call(const char* function, std::initializer_list<Var*> arguments = {});
bool yes(const char* function, std::initializer_list<Var*> arguments = {});
std::int32_t count(const char* function, std::initializer_list<Var*> arguments = {});
// The value of a field as show() writes it, and a store through the name, as the language does it.
std::string get(const char* field);
void put(const char* field, Var* value);

// Evaluates expressions of the language, separated by commas. Gives the last value as show() writes
// it; errors are recorded, and the evaluation goes on.
std::string run(const std::string& expressions);

bool create(const char* file, std::initializer_list<FieldRow> rows);
enum class Use { kShared, kExclusive, kReadOnly };
bool open(const char* file, Use use, const char* alias = nullptr);
DbfIdx& table();  // the private record of the current area's driver

std::string le16(unsigned value);
std::string le32(unsigned value);

// Runs `body` in processes of their own, started together; the number that failed (a body that
// returns false, or ended otherwise than by returning).
int run_processes(int n, const std::function<bool(int index)>& body);
// Does `work` succeed in another process? Of expressions: on the table t, giving true and raising nothing.
bool elsewhere(const std::function<bool()>& work);
bool elsewhere(const std::string& expressions, Use use = Use::kShared);
// A process that runs `body` until it is killed.
pid_t start_process(const std::function<void()>& body);
// True when the process ended with status 0.
bool ended_well(pid_t pid);

class TableTest : public RuntimeTest {
 protected:
  TableTest();
  void TearDown() override;  // no test leaves an error that it didn't take
  std::string directory() const { return folder_.path(); }

 private:
  const CurrentFolder folder_;
};

}  // namespace tarnel::testing
