// A picture of what was read: the records drawn as an SVG, seen from above.
#pragma once

#include <string>

#include "parser/Vessik_Layer.h"
#include "parser/Vessik_Records.h"

namespace vessik {

// Segments become <line>, arcs SVG arcs (counter-clockwise from the start angle to
// the end angle, as the records say), circles <circle>; Z is dropped. One <g> per
// layer, named after it in data-layer, in the order of the layer list; records on
// a layer the list lacks get a group of their own name behind them.
//
// Each stroke has the record's colour. "By layer" (-1) and "by block" (0) take the
// colour of the record's layer; white, the colour that CAD programs show dark on a
// light screen, is drawn black on the white background.
//
// Y points up, the viewBox holds every record with a margin of 5% of the larger
// side, and strokes stay one pixel wide at any zoom. Records with a number that is
// not finite cannot be drawn and are left out.
std::string RecordsSvg(const Vessik_Records& records, const Vessik_Layers& layers);

}  // namespace vessik
