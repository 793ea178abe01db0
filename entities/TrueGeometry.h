// The true-geometry mode: the drawing where the DXF format means it.
#pragma once

#include <string>
#include <vector>

#include "parser/Vessik_Block.h"
#include "parser/Vessik_CommonData.h"
#include "parser/Vessik_Layer.h"
#include "parser/Vessik_Progress.h"
#include "parser/Vessik_Section.h"

namespace vessik {

// The text of the loaded drawing in the true-geometry mode, from its sections,
// blocks and layers as the default mode reads them; entities add their layers to
// Layers as there.
std::string TrueGeometryText(const std::vector<Vessik_Section>& Sections,
                             const std::vector<Vessik_Block>& Blocks, Vessik_Layers& Layers,
                             Vessik_CommonData* Data, Vessik_Progress* Progress);

}  // namespace vessik
