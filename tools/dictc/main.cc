#include <iostream>
#include <string>
#include <vector>

#include "dictc/dictc.h"

int main(int argc, char** argv) {
  const std::vector<std::string> args(argv + 1, argv + argc);
  return eti::tools::RunDictc(args, std::cout, std::cerr);
}
