// What each path of the page answers.
#ifndef SETUP_REPLY_H
#define SETUP_REPLY_H

#include <setup/Access.h>
#include <setup/Answer.h>
#include <setup/Session.h>

#include <cstddef>
#include <optional>

namespace telvane {

/// What is answered to a request that is not to be granted, whatever its body; or nothing.
/// \param length  see Decide
std::optional<Answer> Refusal(const HttpRequest& request, std::size_t length, const Rights& rights);

/// The answer to a request that was granted.
Answer Reply(const HttpRequest& request, Session& session);

} // namespace telvane

#endif
