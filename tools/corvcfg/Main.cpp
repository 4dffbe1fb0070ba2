// corvcfg: the command-line program over the configuration store library.
#include "Commands.h"

int main(int argc, char** argv) {
  CLI::App app;
  BuildCommandLine(app);
  return RunCommandLine(app, argc, argv);
}
