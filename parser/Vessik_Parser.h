#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "TextSink.h"
#include "Vessik_Block.h"
#include "Vessik_CommonData.h"
#include "Vessik_Layer.h"
#include "Vessik_Progress.h"
#include "Vessik_Section.h"

namespace vessik {

class Vessik_Insert;

/// The one object a host talks to: Parse2 turns a DXF file into the drawing's
/// text, and Layers shows the drawing's layers afterwards.
class Vessik_Parser {
 public:
  /// Makes a parser that holds no drawing.
  Vessik_Parser();
  /// Frees the last drawing parsed.
  ~Vessik_Parser();
  Vessik_Parser(const Vessik_Parser&) = delete;
  Vessik_Parser& operator=(const Vessik_Parser&) = delete;

  /// Reads the file and returns its records, or throws Vessik_Error; a null Data
  /// or Progress fails (91) as soon as the parse needs it.
  std::string Parse2(const std::string& TheFile, Vessik_CommonData* Data,
                     Vessik_Progress* Progress);
  /// Parse2 with settings and progress passed by reference.
  std::string Parse2(const std::string& TheFile, Vessik_CommonData& Data,
                     Vessik_Progress& Progress) {
    return Parse2(TheFile, &Data, &Progress);
  }

  /// Parse2 with the text handed to the sink piece by piece as it is made, instead
  /// of returned whole: the same bytes, in the same order, and the same failures,
  /// which may come after part of the text went out. A failure raised by the sink
  /// ends the parse with it. False when the host cancelled: the text is then the
  /// empty one, whatever reached the sink.
  bool Parse2To(const std::string& TheFile, Vessik_CommonData* Data, Vessik_Progress* Progress,
                TextSink& Sink);

  /// A copy of the layer array of the last parse; the layers in it are the
  /// parser's own objects.
  Vessik_Layers Layers() const { return layers_; }

  // The stages of Parse2, public so that each can be driven and tested alone.

  /// Reads the file into this thread's group pairs.
  static void LoadDXF(const std::string& TheFile);
  /// The sections of the loaded pairs, in file order.
  static std::vector<Vessik_Section> ParseSections();
  /// The position (from 1) of the section with this name, or 0 if none.
  static int32_t FindSection(const std::vector<Vessik_Section>& Sections, const std::string& Name);
  /// The layers of the LAYER table.
  static Vessik_Layers ParseLayers(const std::vector<Vessik_Section>& Sections);
  /// Where each block definition lies, with its base point.
  static std::vector<Vessik_Block> ParseBlocks(const std::vector<Vessik_Section>& Sections);
  /// Reads the ENTITIES section into the drawing's tree, under its root reference.
  std::unique_ptr<Vessik_Insert> ParseEntities(const std::vector<Vessik_Section>& Sections,
                                               const std::vector<Vessik_Block>& Blocks,
                                               Vessik_Layers& Layers, Vessik_CommonData* Data,
                                               Vessik_Progress* Progress);

 private:
  void SetLayers(Vessik_Layers& layers);
  // Parse2, with the text going to the sink when there is one.
  std::string Parse(const std::string& TheFile, Vessik_CommonData* Data, Vessik_Progress* Progress,
                    TextSink* Sink);
  std::string RunStages(const std::string& TheFile, Vessik_CommonData* Data,
                        Vessik_Progress* Progress);

  std::unique_ptr<Vessik_Insert> root_;
  Vessik_Layers layers_;
  // Set while Parse2 builds the drawing that it prints once and drops.
  bool oneShot_ = false;
  // Set while Parse2 runs.
  bool busy_ = false;
  // Where the text of the parse under way goes, if not into the returned string;
  // and whether that parse was cancelled.
  TextSink* sink_ = nullptr;
  bool canceled_ = false;
};

}  // namespace vessik
