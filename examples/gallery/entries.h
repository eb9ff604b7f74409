// What the gallery shows. An operation takes a few lines in entries.cpp.
#ifndef EXAMPLES_GALLERY_ENTRIES_H
#define EXAMPLES_GALLERY_ENTRIES_H

#include "inputs.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

// The images of one call: its sources in order, and the result.
struct Images {
    std::vector<DaxImage*> sources;
    DaxImage* result;
    DaxImage* operator[](size_t index) const { return sources[index]; }
};

struct Entry {
    std::string operation;
    std::string title;
    // The call as a C programmer writes it.
    std::string call;
    std::vector<DaxImage*> sources;
    std::function<void(const Images& images)> run;
    // Regions of interest for the time of the call: none, one for all images, or one for each, the
    // result's last.
    std::vector<DaxROI> rois = {};
    // Figures that the page shows below the images, line by line.
    std::function<std::vector<std::string>(const Images& images)> tells = {};
    // What the result is before the call. Without it: an image of zeroes like the first source, or,
    // under a region, a copy of it, so that one sees what the call leaves alone.
    const DaxImage* before = nullptr;
    // The size of a result of zeroes, as a part of that of the first source; or all of its make.
    int upper = 1;
    int lower = 1;
    std::optional<Make> make = {};
    // Whether the call writes into its sources, too.
    bool writesSources = false;
};

std::vector<Entry> entriesFor(const Inputs& inputs);

// A call that the library refuses.
struct WrongCall {
    std::string call;
    std::string why;
    std::function<void(DaxImage* result)> run;
};

WrongCall wrongCallFor(const Inputs& inputs);

#endif
