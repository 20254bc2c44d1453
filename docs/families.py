"""What Doxygen reads of a file: families.py <header or page>

A page gets a name, by which others refer to it: Doxygen follows no path with blanks.

Of a header, each class of a family, such as MatByte, is shown with the constructors that it takes over from its
template, under its own name, and with the class of its elements as a base, which Doxygen does not find behind
`typename`.
"""

import pathlib
import re
import sys

TYPES = {"Byte": "UBYTE", "Short": "short", "Int": "int", "Float": "float"}


def constructors(template):
    """Comment and declaration of each constructor of a class template."""
    body = re.search(rf"class KAVRIX_EXPORT {template} : .*?\n}};", TEMPLATES, re.S)[0]
    found = re.findall(
        rf"((?:^    ///[^<].*\n)*)^    ((?:template <.*>\s+(?:requires\(.*\) )?|explicit )?{template}\(.*?\))"
        r"(?: = default)?(?:;| \{.*| *$) *(?:///< (.*))?", body, re.M)
    return [(above or f"    /// {behind}\n", declaration) for above, declaration, behind in found]


def inherited(match):
    template, family = match[1], match[2]
    element = f"KX_{family}"

    def own(text):
        text = text.replace("typename Family<T>::Elem", element)
        text = text.replace("typename Family<T>::Source", "KX_Base" if family == "Byte" else element)
        text = re.sub(r"typename Family<T>::(\w+)", rf"\g<1>{family}", text)
        text = re.sub(rf"\b{template}(?=[(&])|(?<=const ){template}(?=&)", template + family, text)
        return re.sub(r"(?<=<)T(?=>)", TYPES[family], text)

    own_constructors = "".join(f"{own(above)}    {own(declaration)};\n" for above, declaration in constructors(template))
    return f"{match[0].split(' {')[0]}, public {element} {{\npublic:\n{own_constructors}"


file = pathlib.Path(sys.argv[1])
text = file.read_text(encoding="utf-8")
if file.suffix == ".md":
    text = re.sub(r"\A(# .*)", rf"\1 {{#{file.stem}}}", text)
    print(re.sub(r"\]\((\w+)\.md\)", r"](@ref \1)", text), end="")
else:
    TEMPLATES = (file.parent / "KXarray.h").read_text(encoding="utf-8")
    print(re.sub(r"class KAVRIX_EXPORT (Vec|Mat|Cub)(Byte|Short|Int|Float) : .*? \{\npublic:\n    using \1::\1;\n",
                 inherited, text), end="")
