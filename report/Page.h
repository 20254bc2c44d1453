// The text of a page: HTML that is well-formed as XML too, complete in one file.
#ifndef REPORT_PAGE_H
#define REPORT_PAGE_H

#include <tools/Markup.h>

#include <string>
#include <string_view>

namespace telvane {

/// A picture inside the page.
struct Picture {
    std::string type;          ///< "image/png" or "image/jpeg"
    std::string bytes;         ///< of the file
    int width = 0, height = 0; ///< pixels
};

/// Collects the sections of a page. Texts are plain and are escaped here.
class Page {
public:
    explicit Page(std::string_view title);

    void Section(std::string_view heading);
    void Paragraph(std::string_view text);
    /// A paragraph that stands out, by a coloured edge: "good", "fair" or "bad".
    void Verdict(std::string_view kind, std::string_view text);
    /// \param alternative  what the picture shows, for those who do not see it
    void Figure(const Picture& picture, std::string_view alternative, std::string_view caption);
    /// What stands between these two calls lies side by side where there is room.
    void BeginRow();
    void EndRow();

    /// How many pictures the page shows so far.
    int Figures() const { return figures; }

    /// The whole file.
    std::string Html() const;

private:
    std::string title, body;
    int figures = 0;
};

} // namespace telvane

#endif
