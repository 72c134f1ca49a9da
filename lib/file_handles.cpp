// Contents of files: the low-level handles, and texts as whole files.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

#include "core/errors.h"
#include "core/file_ops.h"
#include "core/open_files.h"
#include "lib/arguments.h"
#include "lib/file_functions.h"
#include "lib/file_names.h"
#include "lib/files.h"

namespace tarnel {
namespace {

constexpr int kReadOnlyAttribute = 1;
constexpr std::int64_t kReadPiece = 65536;

struct HandleState {
  std::vector<int> open;  // what fopen and fcreate gave: a page can't reach the tables' descriptors
} state;

bool is_open(int handle) {
  return std::find(state.open.begin(), state.open.end(), handle) != state.open.end();
}

// The handle in argument 0; -1, noting the error, when it is none that may be used.
int handle_of(std::int32_t argc, Var** argv) {
  const std::int32_t handle = int_argument(argc, argv, 0, -1);
  const bool standard = handle >= STDIN_FILENO && handle <= STDERR_FILENO;
  const bool usable = standard || is_open(handle);
  set_dos_error(usable ? 0 : EBADF);
  return usable ? handle : -1;
}

Var* opened(int handle) {
  if (handle >= 0) state.open.push_back(handle);
  return TMP_INT(handle);
}

std::size_t count_argument(std::int32_t argc, Var** argv, std::size_t available) {
  if (!arg_is(argc, argv, 2, kNumeric)) return available;
  return std::min(static_cast<std::size_t>(std::max(integer_of(argv[2]), 0)), available);
}

}  // namespace

Var* builtin_fopen(std::int32_t argc, Var** argv) {
  static constexpr int kFlags[] = {O_RDONLY, O_WRONLY, O_RDWR, O_RDWR};
  if (!texts_given(1, argc, argv)) return int_minus_one();
  const auto mode = static_cast<unsigned>(int_argument(argc, argv, 1, 0)) & 3U;
  return opened(fileOpenSearch(text_of(argv[0]), kFlags[mode], 0, {.report = false}));
}

Var* fcreate(std::int32_t argc, Var** argv) {
  if (!texts_given(1, argc, argv)) return int_minus_one();
  const bool read_only = (int_argument(argc, argv, 1, 0) & kReadOnlyAttribute) != 0;
  const mode_t mode = fileDefaultMode() & (read_only ? 0444U : 0777U);
  return opened(fileCreate(text_of(argv[0]), mode, false));
}

Var* builtin_fclose(std::int32_t argc, Var** argv) {
  const std::int32_t handle = int_argument(argc, argv, 0, -1);
  const auto found = std::find(state.open.begin(), state.open.end(), handle);
  set_dos_error(found == state.open.end() ? EBADF : 0);
  if (found == state.open.end()) return false_value();
  state.open.erase(found);
  return logical(fileClose(handle));
}

Var* builtin_fread(std::int32_t argc, Var** argv) {
  const int handle = handle_of(argc, argv);
  if (handle < 0 || !arg_is(argc, argv, 1, "C") || argv[1]->sclass == 'C') return int_zero();
  std::string buffer{text_of(argv[1])};
  const std::size_t wanted = count_argument(argc, argv, buffer.size());
  const std::int64_t n = fileRead(handle, buffer.data(), wanted);
  if (n > 0) SET_STR(argv[1], buffer);
  return TMP_INT(static_cast<std::int32_t>(std::max(n, std::int64_t{0})));
}

Var* freadstr(std::int32_t argc, Var** argv) {
  const int handle = handle_of(argc, argv);
  if (handle < 0 || !arg_is(argc, argv, 1, kNumeric)) return empty_text();
  std::string text, piece;
  // Piece by piece: a count may be far beyond the end of the file.
  for (std::int64_t left = std::max(integer_of(argv[1]), 0); left > 0;) {
    piece.resize(static_cast<std::size_t>(std::min(left, kReadPiece)));
    const std::int64_t n = fileRead(handle, piece.data(), piece.size());
    if (n > 0) text.append(piece, 0, static_cast<std::size_t>(n));
    if (n < static_cast<std::int64_t>(piece.size())) break;
    left -= n;
  }
  Var* result = TMP_TEXT(std::string_view(text).substr(0, text.find('\0')));
  return is_error(result) ? empty_text() : result;
}

Var* builtin_fwrite(std::int32_t argc, Var** argv) {
  const int handle = handle_of(argc, argv);
  if (handle < 0 || !arg_is(argc, argv, 1, kText)) return int_zero();
  const auto text = text_of(argv[1]);
  const auto bytes = text.substr(0, count_argument(argc, argv, text.size()));
  const std::int64_t n = fileWrite(handle, bytes);
  return TMP_INT(static_cast<std::int32_t>(n));
}

Var* builtin_fseek(std::int32_t argc, Var** argv) {
  static constexpr int kOrigins[] = {SEEK_SET, SEEK_CUR, SEEK_END};
  const int handle = handle_of(argc, argv);
  const std::int32_t origin = int_argument(argc, argv, 2, 0);
  if (handle < 0 || !arg_is(argc, argv, 1, kNumeric) || origin < 0 || origin > 2) return int_zero();
  const double offset = std::clamp(number_of(argv[1]), -1e15, 1e15);
  const auto where = offset == offset ? static_cast<std::int64_t>(offset) : 0;
  const std::int64_t position = fileSeek(handle, where, kOrigins[origin]);
  return position <= INT32_MAX ? TMP_INT(static_cast<std::int32_t>(position))
                               : TMP_NUM(static_cast<double>(position), 0);
}

Var* builtin_ferror(std::int32_t, Var**) {
  return TMP_INT(dos_error());
}

Var* memoread(std::int32_t argc, Var** argv) {
  if (!texts_given(1, argc, argv)) return empty_text();
  // Not blocking: the name may be that of a pipe.
  const File file(fileOpenSearch(text_of(argv[0]), O_RDONLY | O_NONBLOCK, 0, {.report = false}));
  if (!file.opened()) return empty_text();
  struct stat status;
  const bool known = file_ops().fstat(file.fd(), &status) == 0;
  if (!known || !S_ISREG(status.st_mode)) set_dos_error(known ? EINVAL : errno);
  if (!known || !S_ISREG(status.st_mode) || status.st_size == 0) return empty_text();
  Var* text = TMP_BUFFER(status.st_size);
  if (is_error(text)) return empty_text();
  const auto size = text_of(text).size();
  const std::int64_t n = fileRead(file.fd(), text->text, size);
  if (n < 0) return empty_text();  // a part would pass for the whole
  return n == static_cast<std::int64_t>(size) ? text : SET_STR(text, text->text, n);
}

Var* memowrit(std::int32_t argc, Var** argv) {
  if (!texts_given(2, argc, argv)) return false_value();
  return logical(fileReplace(text_of(argv[0]), text_of(argv[1]), false));
}

}  // namespace tarnel
