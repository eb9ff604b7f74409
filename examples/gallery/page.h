// The page that shows the results.
#ifndef EXAMPLES_GALLERY_PAGE_H
#define EXAMPLES_GALLERY_PAGE_H

#include <string>
#include <vector>

struct Figure {
    // Relative to the page.
    std::string file;
    std::string name;
    std::string note;
    int width;
    int height;
};

struct Report {
    int status;
    std::string statusText;
    std::string function;
    std::string context;
    std::string file;
    int line;
};

struct Card {
    std::string operation;
    std::string title;
    std::string call;
    // The regions of interest, a line each.
    std::vector<std::string> rois;
    std::vector<Figure> sources;
    Figure result;
    std::vector<std::string> figures;
    double megapixelsPerSecond;
    // What went wrong, line by line; empty as it should be.
    std::vector<std::string> failures;
};

struct Refusal {
    std::string call;
    std::string why;
    std::vector<Report> reports;
    bool resultUntouched;
};

struct Page {
    std::string library;
    std::string picture;
    std::vector<Card> cards;
    Refusal refusal;
};

std::string lineOf(const Report& report);
std::string htmlOf(const Page& page);

#endif
