// Why a document cannot be taken.
#pragma once

#include <stdexcept>

namespace KorvoAgent {

/**
 * what() is a message for whoever wrote the document, complete in itself: the document's path, the
 * place (line and column of text that is no JSON, else a JSON Pointer, RFC 6901), what is wrong
 * there and what to do.
 */
class DocumentError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace KorvoAgent
