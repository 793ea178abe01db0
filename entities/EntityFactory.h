#pragma once

#include <memory>
#include <string_view>

#include "entities/Vessik_IEntity.h"

namespace vessik {

// The entity keywords, in the order in which a value is compared with them.
constexpr std::string_view kEntityKeywords[] = {"LINE",     "CIRCLE",  "ARC",    "LWPOLYLINE",
                                                "POLYLINE", "ELLIPSE", "SPLINE", "INSERT"};

constexpr int kInsertKeyword = 7;

// Position of value in kEntityKeywords, or -1.
int KeywordIndex(std::string_view value);

// A new object of the class that stands for the keyword at that position.
std::unique_ptr<Vessik_IEntity> CreateEntity(int keywordIndex);

}  // namespace vessik
