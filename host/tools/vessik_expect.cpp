// Writes what the library itself makes of a drawing, for the host tests to
// compare with what their binding hands out:
//
//   vessik_expect DRAWING PREFIX TOLERANCE CHECK DEVIATION MINLENGTH MAXLENGTH INITIAL
//
// PREFIX.txt gets the text of Parse2 (empty after a failure), PREFIX.meta these
// lines: "status OK" or "status ERROR", "number N", "source S", "description D",
// "layers N", then one line "NAME<TAB>ACI<TAB>RGB" for each layer.
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>

#include "parser/parser.h"

int main(int argc, char** argv) {
  if (argc != 9) {
    std::cerr << "usage: vessik_expect DRAWING PREFIX TOLERANCE CHECK DEVIATION MINLENGTH "
                 "MAXLENGTH INITIAL\n";
    return 2;
  }
  vessik::Vessik_CommonData data;
  data.Tolerance = std::strtod(argv[3], nullptr);
  data.Check = static_cast<int32_t>(std::strtol(argv[4], nullptr, 10));
  data.ArcMaximumDeviationFactor = std::strtod(argv[5], nullptr);
  data.ArcMinimumSegmentLengthFactor = std::strtod(argv[6], nullptr);
  data.ArcMaximumSegmentLengthFactor = std::strtod(argv[7], nullptr);
  data.InitialSegments = std::strtod(argv[8], nullptr);
  vessik::Vessik_Progress progress;
  vessik::Vessik_Parser parser;
  std::string text;
  std::string status = "OK";
  int32_t number = 0;
  std::string source;
  std::string description;
  try {
    text = parser.Parse2(argv[1], data, progress);
  } catch (const vessik::Vessik_Error& e) {
    status = "ERROR";
    number = e.Number();
    source = e.Source();
    description = e.Description();
  }
  const std::string prefix = argv[2];
  std::ofstream out(prefix + ".txt", std::ios::binary);
  out << text;
  std::ofstream meta(prefix + ".meta", std::ios::binary);
  meta << "status " << status << "\nnumber " << number << "\nsource " << source << "\ndescription "
       << description << "\n";
  vessik::Vessik_Layers layers = parser.Layers();
  meta << "layers " << layers.size() << "\n";
  for (const auto& layer : layers) {
    meta << layer->Name << "\t" << layer->Color->ColorACI() << "\t" << layer->Color->ColorRGB()
         << "\n";
  }
  return out && meta ? 0 : 1;
}
