#include "ovkctl/frame/command.h"

int main(int argc, char** argv) { return ovkctl::run_command_line(argc, argv); }
