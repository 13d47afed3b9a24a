#include "animator/VirtualDisplay.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace quorel {

namespace {

/// The number that the server writes once it accepts clients; empty if it ends before.
std::string readNumber(int descriptor) {
  std::string number;
  char c;
  while (read(descriptor, &c, 1) == 1 && c != '\n') number += c;
  return number;
}

[[noreturn]] void becomeServer(int reportTo) {
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  const int nowhere = open("/dev/null", O_RDWR);
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nowhere, stream);
  const std::string descriptor = std::to_string(reportTo);
  execlp("Xvfb", "Xvfb", "-displayfd", descriptor.c_str(), "-screen", "0", "1280x1024x24", "-nolisten", "tcp",
         static_cast<char*>(nullptr));
  _exit(127);
}

}  // namespace

bool provideDisplay() {
  if (std::getenv("DISPLAY") != nullptr) return true;
  int ends[2];
  if (pipe(ends) != 0) return false;
  const pid_t server = fork();
  if (server == 0) {
    close(ends[0]);
    becomeServer(ends[1]);
  }
  close(ends[1]);
  const std::string number = server > 0 ? readNumber(ends[0]) : "";
  close(ends[0]);
  return !number.empty() && setenv("DISPLAY", (":" + number).c_str(), 1) == 0;
}

}  // namespace quorel
