// Chief header of the library: everything a host needs to parse a drawing.
//
//   #include <vessik/parser/parser.h>
//
//   vessik::Vessik_Parser parser;
//   vessik::Vessik_CommonData data;   // set the six settings
//   vessik::Vessik_Progress progress;
//   std::string text = parser.Parse2("part.dxf", data, progress);
#pragma once

#include "TextSink.h"
#include "Vessik_Color.h"
#include "Vessik_CommonData.h"
#include "Vessik_Error.h"
#include "Vessik_Hooks.h"
#include "Vessik_Layer.h"
#include "Vessik_Parser.h"
#include "Vessik_Progress.h"
#include "Vessik_Records.h"
