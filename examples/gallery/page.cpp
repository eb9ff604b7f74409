#include "page.h"

#include <cmath>
#include <cstdio>
#include <sstream>

namespace {

constexpr const char* style = R"(
:root { color-scheme: light dark; --ink: #1d2330; --soft: #5d6678; --ground: #f6f7f9; --card: #fff;
  --line: #dde1e8; --mark: #1457b8; --bad: #b3261e; }
@media (prefers-color-scheme: dark) { :root { --ink: #e6e9ef; --soft: #9aa3b5; --ground: #14171d;
  --card: #1d2129; --line: #313846; --mark: #82b1ff; --bad: #ff8a80; } }
* { box-sizing: border-box; }
body { margin: 0 auto; max-width: 76rem; padding: 2rem 1.25rem 4rem; background: var(--ground);
  color: var(--ink); font: 16px/1.5 system-ui, "DejaVu Sans", sans-serif; }
h1 { margin: 0; font-size: 1.7rem; }
h2 { margin: 2.75rem 0 .75rem; padding-bottom: .3rem; border-bottom: 1px solid var(--line);
  font-size: 1.25rem; }
h3 { margin: 0; font-size: 1rem; }
p { margin: .4rem 0; }
a { color: var(--mark); }
nav { display: flex; flex-wrap: wrap; gap: .35rem 1.1rem; margin-top: 1rem; }
.soft { color: var(--soft); font-size: .875rem; }
article { margin: 0 0 1.1rem; padding: 1rem 1.1rem 1.1rem; background: var(--card);
  border: 1px solid var(--line); border-radius: 8px; }
article header { display: flex; flex-wrap: wrap; justify-content: space-between; gap: .2rem 1rem;
  align-items: baseline; }
code, pre { font: .875rem/1.5 ui-monospace, "DejaVu Sans Mono", monospace; }
pre { margin: .6rem 0 .9rem; overflow-x: auto; white-space: pre-wrap; }
.images { display: grid; gap: .9rem; grid-template-columns: repeat(auto-fit, minmax(12rem, 1fr)); }
figure { margin: 0; }
figure img { display: block; width: auto; height: auto; max-width: 100%; max-height: 22rem;
  border-radius: 4px; }
figcaption { margin-top: .35rem; font-size: .8125rem; color: var(--soft); overflow-wrap: anywhere; }
figcaption code { color: var(--ink); }
.result img { outline: 2px solid var(--mark); outline-offset: 2px; }
.bad { border-color: var(--bad); }
.bad pre, .bad strong { color: var(--bad); }
)";

std::string escaped(const std::string& text) {
    std::string safe;
    for (const char letter : text) switch (letter) {
        case '&': safe += "&amp;"; break;
        case '<': safe += "&lt;"; break;
        case '>': safe += "&gt;"; break;
        case '"': safe += "&quot;"; break;
        default: safe += letter;
        }
    return safe;
}

// Every byte that could mean something in a link, as its number.
std::string linkTo(const std::string& file) {
    std::string link;
    for (const char letter : file) {
        const bool plain = (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') ||
                           (letter >= '0' && letter <= '9') || letter == '.' || letter == '-' ||
                           letter == '_' || letter == '/';
        char code[4] = {letter, '\0'};
        if (!plain) std::snprintf(code, sizeof code, "%%%02X", static_cast<unsigned char>(letter));
        link += code;
    }
    return link;
}

void put(std::ostream& out, const Figure& figure, const char* kind) {
    const std::string link = linkTo(figure.file);
    out << "<figure class=\"" << kind << "\"><a href=\"" << link << "\"><img src=\"" << link
        << "\" width=\"" << figure.width << "\" height=\"" << figure.height
        << "\" loading=\"lazy\" alt=\"" << escaped(figure.name) << "\"></a>\n<figcaption><code>"
        << escaped(figure.name) << "</code> " << escaped(figure.note) << "</figcaption></figure>\n";
}

void put(std::ostream& out, const Card& card) {
    out << "<article" << (card.failures.empty() ? "" : " class=\"bad\"") << ">\n<header><h3>"
        << escaped(card.title) << "</h3>";
    out << "<span class=\"soft\">" << std::llround(card.megapixelsPerSecond)
        << " megapixels per second</span></header>\n<pre>" << escaped(card.call);
    for (const std::string& roi : card.rois) out << "\n" << escaped(roi);
    out << "</pre>\n";
    if (!card.failures.empty()) {
        out << "<strong>This call failed.</strong>\n<pre>";
        for (const std::string& line : card.failures) out << escaped(line) << "\n";
        out << "</pre>\n";
    }
    out << "<div class=\"images\">\n";
    for (const Figure& source : card.sources) put(out, source, "source");
    put(out, card.result, "result");
    out << "</div>\n";
    if (!card.figures.empty()) {
        out << "<pre>";
        for (const std::string& line : card.figures) out << escaped(line) << "\n";
        out << "</pre>\n";
    }
    out << "</article>\n";
}

void put(std::ostream& out, const Refusal& refusal) {
    out << "<h2 id=\"refused\">A call that is refused</h2>\n<article>\n<header><h3>"
        << escaped(refusal.why) << "</h3></header>\n<pre>" << escaped(refusal.call)
        << "</pre>\n<p>The library reports:</p>\n<pre>";
    for (const Report& report : refusal.reports) out << escaped(lineOf(report)) << "\n";
    out << "</pre>\n<p class=\"soft\">"
        << (refusal.resultUntouched ? "The result image is untouched."
                                    : "The result image has been written all the same.")
        << "</p>\n</article>\n";
}

} // namespace

std::string lineOf(const Report& report) {
    return report.function + " [" + report.file + ":" + std::to_string(report.line) + "] status " +
           std::to_string(report.status) + " (" + report.statusText + "): " + report.context;
}

std::string htmlOf(const Page& page) {
    std::ostringstream out;
    out << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
           "<title>daxlib gallery</title>\n<style>"
        << style << "</style>\n</head>\n<body>\n<h1>daxlib gallery</h1>\n<p class=\"soft\">"
        << escaped(page.library) << ". Source: " << escaped(page.picture)
        << ". Every call was timed on this machine, in one thread. Of samples of 16 bits the high "
           "byte "
           "is shown.</p>\n<nav>\n";
    std::string last;
    for (const Card& card : page.cards)
        if (card.operation != last) {
            out << "<a href=\"#" << card.operation << "\">" << card.operation << "</a>\n";
            last = card.operation;
        }
    out << "<a href=\"#refused\">a call that is refused</a>\n</nav>\n";
    last.clear();
    for (const Card& card : page.cards) {
        if (card.operation != last)
            out << "<h2 id=\"" << card.operation << "\">" << card.operation << "</h2>\n";
        last = card.operation;
        put(out, card);
    }
    put(out, page.refusal);
    out << "</body>\n</html>\n";
    return out.str();
}
