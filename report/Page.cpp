// Composing of the page.
#include <report/Page.h>

namespace telvane {

namespace {

const char style[] = R"(
:root { color-scheme: light dark; }
body { max-width: 62rem; margin: 0 auto; padding: 1rem; font: 1rem/1.5 system-ui, sans-serif;
       overflow-wrap: anywhere; }
h1 { font-size: 1.5rem; line-height: 1.25; margin: 0 0 1rem; }
h2 { font-size: 1.2rem; margin: 2rem 0 .5rem; border-bottom: 1px solid GrayText; }
p { margin: 0 0 1rem; max-width: 44rem; }
figure { margin: 0 0 1.5rem; break-inside: avoid; }
figcaption { font-size: .9rem; max-width: 44rem; }
img { display: block; max-width: 100%; height: auto; margin: 0 0 .4rem; }
.row { display: grid; gap: 0 1.5rem; align-items: start;
       grid-template-columns: repeat(auto-fit, minmax(min(100%, 18rem), 1fr)); }
.good, .fair, .bad { padding: .4rem .8rem; border-left: .4rem solid; }
.good { border-color: #2a9d4a; }
.fair { border-color: #d99a00; }
.bad { border-color: #d0342c; }
@media print {
  body { max-width: none; padding: 0; }
  h2 { break-after: avoid; }
  img { max-height: 22cm; width: auto; }
}
)";

} // namespace

Page::Page(std::string_view t) : title(Escaped(t)) {}

void Page::Section(std::string_view heading) { body += "<h2>" + Escaped(heading) + "</h2>\n"; }

void Page::Paragraph(std::string_view text) { body += "<p>" + Escaped(text) + "</p>\n"; }

void Page::Verdict(std::string_view kind, std::string_view text)
{
    body += "<p class=\"" + Escaped(kind) + "\">" + Escaped(text) + "</p>\n";
}

void Page::Figure(const Picture& picture, std::string_view alternative, std::string_view caption)
{
    body += "<figure>\n<img width=\"" + std::to_string(picture.width) + "\" height=\"" +
            std::to_string(picture.height) + "\" alt=\"" + Escaped(alternative) +
            "\" src=\"data:" + picture.type + ";base64," + Base64(picture.bytes) + "\"/>\n";
    if (!caption.empty()) body += "<figcaption>" + Escaped(caption) + "</figcaption>\n";
    body += "</figure>\n";
    figures++;
}

void Page::BeginRow() { body += "<div class=\"row\">\n"; }

void Page::EndRow() { body += "</div>\n"; }

std::string Page::Html() const
{
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\"/>\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"/>\n<title>" +
           title + "</title>\n<style>" + style + "</style>\n</head>\n<body>\n<h1>" + title + "</h1>\n" +
           body + "</body>\n</html>\n";
}

} // namespace telvane
