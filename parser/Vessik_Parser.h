#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "parser/Vessik_Block.h"
#include "parser/Vessik_CommonData.h"
#include "parser/Vessik_Layer.h"
#include "parser/Vessik_Progress.h"
#include "parser/Vessik_Section.h"

namespace vessik {

class Vessik_Insert;

// The one object a host talks to: Parse2 turns a DXF file into the drawing's text,
// and Layers shows the drawing's layers afterwards.
class Vessik_Parser {
 public:
  Vessik_Parser();
  ~Vessik_Parser();
  Vessik_Parser(const Vessik_Parser&) = delete;
  Vessik_Parser& operator=(const Vessik_Parser&) = delete;

  // Reads the file and returns its records. A null Data or Progress fails (91) as
  // soon as the parse needs it.
  std::string Parse2(const std::string& TheFile, Vessik_CommonData* Data,
                     Vessik_Progress* Progress);
  std::string Parse2(const std::string& TheFile, Vessik_CommonData& Data,
                     Vessik_Progress& Progress) {
    return Parse2(TheFile, &Data, &Progress);
  }

  // A copy of the layer array; the layers in it are the parser's own objects.
  Vessik_Layers Layers() const { return layers_; }

  // The stages of Parse2, public so that each can be driven and tested alone.
  static void LoadDXF(const std::string& TheFile);
  static std::vector<Vessik_Section> ParseSections();
  static int32_t FindSection(const std::vector<Vessik_Section>& Sections, const std::string& Name);
  static Vessik_Layers ParseLayers(const std::vector<Vessik_Section>& Sections);
  static std::vector<Vessik_Block> ParseBlocks(const std::vector<Vessik_Section>& Sections);
  std::unique_ptr<Vessik_Insert> ParseEntities(const std::vector<Vessik_Section>& Sections,
                                               const std::vector<Vessik_Block>& Blocks,
                                               Vessik_Layers& Layers, Vessik_CommonData* Data,
                                               Vessik_Progress* Progress);

 private:
  void SetLayers(Vessik_Layers& layers);
  std::string RunStages(const std::string& TheFile, Vessik_CommonData* Data,
                        Vessik_Progress* Progress);

  std::unique_ptr<Vessik_Insert> root_;
  Vessik_Layers layers_;
};

}  // namespace vessik
