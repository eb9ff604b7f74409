// Texts that the library holds once and gives out in more than one place.
#ifndef OWN_ERROR_H
#define OWN_ERROR_H

extern const char ownOutOfMemoryText[];

#endif
