# The library's sources, relative to the repository root. The native build and the
# COM cross build (host/com) both take them from here.
set(VESSIK_LIBRARY_SOURCES
  parser/FileBytes.cpp
  parser/MappedFile.cpp
  parser/GroupPairs.cpp
  parser/Lickety.cpp
  parser/LoadDXF.cpp
  parser/NameLookup.cpp
  parser/ParseLimits.cpp
  parser/Vessik_Color.cpp
  parser/Vessik_Concat.cpp
  parser/Vessik_Convert.cpp
  parser/Vessik_Error.cpp
  parser/Vessik_Layer.cpp
  parser/Vessik_Parser.cpp
  parser/ThreadSettings.cpp
  parser/Vessik_Progress.cpp
  parser/Vessik_Records.cpp
  parser/Vessik_Types.cpp
  parser/Vessik_Utils.cpp
  entities/AheadPrinter.cpp
  entities/CurvePool.cpp
  entities/EntityArena.cpp
  entities/EntityFactory.cpp
  entities/RecordText.cpp
  entities/TrueCurves.cpp
  entities/TrueEntities.cpp
  entities/TrueGeometry.cpp
  entities/Vessik_Arc.cpp
  entities/Vessik_Circle.cpp
  entities/Vessik_Ellipse.cpp
  entities/Vessik_Entity.cpp
  entities/Vessik_Insert.cpp
  entities/Vessik_Line.cpp
  entities/Vessik_LwPolyline.cpp
  entities/Vessik_Polyline.cpp
  entities/Vessik_Spline.cpp
  entities/Vessik_Vertex.cpp
  geometry/Affine.cpp
  geometry/Vessik_Aaa.cpp
  geometry/Vessik_ArcGeo.cpp
  geometry/Vessik_LineGeo.cpp
  geometry/Vessik_Math.cpp
  geometry/Vessik_Point.cpp
  spline/Vessik_BSpline.cpp
  spline/Vessik_BiArc.cpp
  spline/Vessik_CurvePointValid.cpp
  spline/Vessik_Geo.cpp
  spline/Vessik_Nurbs.cpp
  spline/Vessik_SplineFit.cpp
  spline/Vessik_SplineJoin.cpp
  spline/Vessik_SplineMerge.cpp
)

# The headers a host needs, and the only ones installed: the chief header
# parser/parser.h and what it includes. They include each other by plain file
# name, so that they work from any folder; consumers write
# #include <vessik/parser/parser.h>.
set(VESSIK_PUBLIC_HEADERS
  parser/parser.h
  parser/Vessik_Block.h
  parser/Vessik_Color.h
  parser/Vessik_CommonData.h
  parser/Vessik_Error.h
  parser/Vessik_Hooks.h
  parser/Vessik_Layer.h
  parser/Vessik_Parser.h
  parser/Vessik_Progress.h
  parser/Vessik_Records.h
  parser/Vessik_Section.h
  parser/TextSink.h
)
