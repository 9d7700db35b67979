// Media types: building, reading, changing, naming. All are free functions without state; any thread may call them.
//
// A format block is read only as far as cbFormat reaches. A block that is absent or shorter than its structure
// counts as a null one.
#pragma once

#include "VideoIO/FilterUtil/MediaTypeBuilders.h"
#include "VideoIO/FilterUtil/MediaTypeDump.h"
#include "VideoIO/FilterUtil/MediaTypeNames.h"
#include "VideoIO/FilterUtil/MediaTypeParameterSets.h"
#include "VideoIO/FilterUtil/MediaTypePredicates.h"
#include "VideoIO/FilterUtil/MediaTypeReaders.h"
#include "VideoIO/FilterUtil/MediaTypeWriters.h"
#include "VideoIO/FilterUtil/StreamRate.h"
#include "VideoIO/FilterUtil/TimeConversionUtil.h"
