// Parses a drawing through the installed C++ library.
#include <iostream>

#include <vessik/parser/parser.h>

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  vessik::Vessik_Parser parser;
  vessik::Vessik_CommonData data;
  vessik::Vessik_Progress progress;
  try {
    std::cout << parser.Parse2(argv[1], data, progress);
    std::cout << "layers " << parser.Layers().size() << "\n";
  } catch (const vessik::Vessik_Error& e) {
    std::cout << "error " << e.Number() << " " << e.Description() << "\n";
    return 1;
  }
  return 0;
}
