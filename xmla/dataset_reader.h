#pragma once

#include "xmla/answer_element.h"
#include "xmla/dataset.h"

namespace importkcd {

/// The data set of an answer to an Execute request, whose envelope is `envelope`. Throws
/// ImportError when the answer carries none, or one that contradicts itself: an axis tuple with
/// members of other hierarchies than its axis, a cell that lies outside.
Dataset read_dataset(const AnswerElement& envelope);

}  // namespace importkcd
