// The long check of an image: condition after condition, each reported under a text of its own that
// names the argument.
#ifndef OWN_FULLCHECK_H
#define OWN_FULLCHECK_H

#include "frame/call.h"

// Reports a bad argument when the condition holds, under the condition's text with the argument's
// name in place of every '@'.
bool ownRejects(const OwnCall& call, bool condition, const char* text, const char* name,
                int32_t line = __builtin_LINE());

// Whether an image passes the long check; the first condition that holds is reported.
bool ownFullCheck(const OwnCall& call, DaxImage* image, const char* name,
                  int32_t line = __builtin_LINE());

#endif
