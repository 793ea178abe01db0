// Chief header of the library: everything a host needs to parse a drawing.
#pragma once

#include "parser/Vessik_Color.h"
#include "parser/Vessik_CommonData.h"
#include "parser/Vessik_Error.h"
#include "parser/Vessik_Layer.h"
#include "parser/Vessik_Parser.h"
#include "parser/Vessik_Progress.h"
#include "parser/Vessik_Utils.h"
