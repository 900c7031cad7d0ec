#pragma once

#include "HWCGallery.h"

// The application's own windows: the about window, the feedback dialog in each of its
// three fixed types and the install offer.
QList<HWCGalleryEntry> applicationScenes();
