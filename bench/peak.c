// Runs a program with our descriptors and environment and writes its peak of memory, in KiB, to standard error. The
// system counts what its starter held until then to a program, so that must be less than any program worth asking.
#include <spawn.h>
#include <stdio.h>
#include <sys/resource.h>
#include <sys/wait.h>

extern char** environ;

int main(int count, char** arguments) {
  pid_t child;
  int status = 0;
  struct rusage usage;
  if (count < 2 || posix_spawn(&child, arguments[1], NULL, NULL, arguments + 1, environ) != 0)
    return 2;
  if (wait4(child, &status, 0, &usage) != child || status != 0) return 1;
  return fprintf(stderr, "%ld\n", usage.ru_maxrss) < 0;
}
