// The page, built in.
#ifndef SETUP_PAGE_H
#define SETUP_PAGE_H

namespace telvane {

/// setup/page.html; NONCE stands for what the answer's content security policy names.
extern const char pageHtml[];

} // namespace telvane

#endif
