// Media types: building, reading, changing, naming. All are free functions without state; any thread may call them.
//
// A format block is read only as far as cbFormat reaches. A block that is absent or shorter than its structure
// counts as a null one.
#pragma once

#include "VideoIO/FilterUtil/MediaTypes/MediaTypeBuilders.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeDump.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeNames.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeParameterSets.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypePredicates.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeReaders.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeWriters.h"
#include "VideoIO/FilterUtil/MediaTypes/StreamRate.h"
#include "VideoIO/FilterUtil/MediaTypes/TimeConversionUtil.h"
