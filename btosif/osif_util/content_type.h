// The parameters of a Content-Type header (RFC 2045, section 5.1) that say how a body is made up.
#pragma once

#include <optional>
#include <string>
#include <string_view>

// What is between the parts of a multipart content: the value of the boundary parameter, which may be empty
// (RFC 2046, section 5.1.1); nothing when the type is not multipart or has none.
std::optional<std::string> MultipartBoundary(std::string_view content_type);

// The value of the name parameter, as it stands: it may be empty, and it may be a path. Nothing when the type has
// none: its content is no attachment. A parameter whose name only ends in "name", such as a file name, is another
// one, and so is what stands in the quotes of another's value.
std::optional<std::string> AttachmentName(std::string_view content_type);
