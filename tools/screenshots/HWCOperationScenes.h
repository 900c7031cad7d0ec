#pragma once

#include "HWCGallery.h"

// The operation screen in each of its looks, made from real operations on small trees in
// temporary folders: running ones are held at a FIFO that nobody writes yet.
QList<HWCGalleryEntry> operationScenes();
