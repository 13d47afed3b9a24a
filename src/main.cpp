#include <GL/freeglut.h>
#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <iostream>
#include <string_view>

#include "concurrency/Log.h"
#include "concurrency/Platform.h"
#include "server/Diagnostics.h"
#include "server/GraphProxy.h"
#include "server/XmlRpcServer.h"

using namespace quorel;

namespace {

constexpr int serverPriority = 0;
constexpr int mainPriority = 15;

/// Fills what is closed of standard input, output and error, before the constructors of globals: else it would become a
/// library's socket, and what the program tells would go there.
__attribute__((constructor(101))) void openStandardDescriptors() {
  int fd = open("/dev/null", O_RDWR);
  while (fd >= 0 && fd <= STDERR_FILENO) fd = open("/dev/null", O_RDWR);
  if (fd >= 0) close(fd);
}

/// Names the time zone, if nobody has. The web server dates each reply, and where no zone is named the C library looks at the
/// file again and again, all threads one after the other.
void nameTimeZone() {
  setenv("TZ", ":/etc/localtime", 0);
  tzset();
}

/// Takes what is the program's own from the command line and leaves the rest to the window. Returns whether the program
/// goes on.
bool scan(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (argument == "-q" || argument == "-quiet") {
      verbose = false;
    } else if (argument == "-h" || argument == "-help" || argument == "--help" || argument == "-?") {
      writeLine(std::cout, argv[0], " [-quiet]");
      return false;
    }
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  writeWithoutWaiting();
  if (!scan(argc, argv)) return 0;
  nameTimeZone();
  graphProxy = new GraphProxy(argc, argv);
  pthread_t server;
  if (pthread_create(&server, nullptr, serverMain, nullptr) != 0) {
    writeLine(std::cerr, "tessarel: cannot start the server thread");
    return 1;
  }
  setThreadPriority(server, serverPriority);
  setCurrentThreadPriority(mainPriority);
  glutMainLoop();
}
