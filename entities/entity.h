// Chief header of the entities: the interfaces and every entity class.
#pragma once

#include "entities/EntityFactory.h"
#include "entities/Vessik_Arc.h"
#include "entities/Vessik_Circle.h"
#include "entities/Vessik_Ellipse.h"
#include "entities/Vessik_Entity.h"
#include "entities/Vessik_IEntity.h"
#include "entities/Vessik_IParent.h"
#include "entities/Vessik_Insert.h"
#include "entities/Vessik_Line.h"
#include "entities/Vessik_LwPolyline.h"
#include "entities/Vessik_PolySegment.h"
#include "entities/Vessik_Polyline.h"
#include "entities/Vessik_Spline.h"
#include "entities/Vessik_Vertex.h"
