#pragma once

#include "engine/mhl/HWCMHLReader.h"

#include <QByteArrayView>
#include <optional>

// Reads an MHL 1.1 list of the plain shape nearly every list has as the text streams past,
// without a document tree, so that a list of ten million files costs little more than its
// records. Any thread.
namespace HWCMHLStreamReader {

// The contents of utf8, a list that hwc_xmlTextProblem() found nothing wrong with, when
// every value is plain text; nullopt when the tree must decide (HWCMHLReader): a later
// format, a value holding an element, CDATA, a comment or an instruction, a DTD, a
// declared encoding other than UTF-8, or anything the stream reader finds wrong.
std::optional<HWCMHLReader::Contents> read(QByteArrayView utf8);

} // namespace HWCMHLStreamReader
