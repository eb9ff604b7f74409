// The images that the entries of the gallery work on, all made from one picture.
#ifndef EXAMPLES_GALLERY_INPUTS_H
#define EXAMPLES_GALLERY_INPUTS_H

#include "common/image.h"
#include "common/picture.h"

#include <list>
#include <string>

struct Input {
    // As the texts of the calls name it.
    std::string name;
    std::string note;
    Image image;
};

class Inputs {
public:
    explicit Inputs(const Picture& source);

    const Input& describe(const DaxImage* image) const;

    // Red, green and blue, interleaved. `shifted` and `dimmed` are copies; the samples of `factor`
    // are 0 to 3.
    DaxImage* picture;
    DaxImage* shifted;
    DaxImage* dimmed;
    DaxImage* factor;
    DaxImage* picture16;
    DaxImage* shifted16;
    DaxImage* dimmed16;
    DaxImage* factor16;
    DaxImage* signed16;
    // Red, green, blue and opacity: a soft disc of the picture.
    DaxImage* cutout;
    // A ground that shows through.
    DaxImage* chequers;
    // One channel: two soft discs that overlap, and the rest.
    DaxImage* left;
    DaxImage* right;
    DaxImage* gray;
    DaxImage* gray16;
    // Salt and pepper on it.
    DaxImage* noisy;
    DaxImage* bits;
    DaxImage* shiftedBits;

private:
    template <class Sample>
    DaxImage* keep(const char* name, const char* note, const Make& make, Sample sample);

    std::list<Input> all;
};

#endif
