#pragma once

#include "HWCGallery.h"

// The source collection screen in each state a person meets: empty, a drag over it, a
// source still calculating, a folder ready to create, a card ready to verify, a long name.
// The sources are small trees made once per process in a temporary folder. Main thread.
namespace HWCSourceCollectionGallery {

QList<HWCGalleryEntry> entries();

} // namespace HWCSourceCollectionGallery
