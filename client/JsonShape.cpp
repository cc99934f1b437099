#include "client/JsonShape.h"

namespace KorvoCtl {

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

bool isOfScalar(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-' ||
         c == '+' || c == '.';
}

}  // namespace

bool JsonShape::add(char c) {
  if (state_ == State::kString) {
    if (escaped_) {
      escaped_ = false;
    } else if (c == '\\') {
      escaped_ = true;
    } else if (c == '"') {
      state_ = isName_ ? State::kColon : afterValue();
    }
    return false;
  }
  if (state_ == State::kScalar) {
    if (isOfScalar(c)) {
      return false;
    }
    state_ = afterValue();
  }
  if (isBlank(c)) {
    return false;
  }
  const bool takesValue = state_ == State::kValue || (state_ == State::kFirstItem && c != ']');
  state_ = after(c);
  return takesValue && state_ != State::kBroken;
}

// The state after a character that is no blank, outside of strings.
JsonShape::State JsonShape::after(char c) {
  switch (state_) {
    case State::kFirstMember:
      if (c == '}') {
        return close();
      }
      [[fallthrough]];
    case State::kMember:
      isName_ = true;
      return c == '"' ? State::kString : State::kBroken;
    case State::kColon:
      return c == ':' ? State::kValue : State::kBroken;
    case State::kFirstItem:
      if (c == ']') {
        return close();
      }
      [[fallthrough]];
    case State::kValue:
      return begin(c);
    case State::kNext:
      if (c == ',') {
        return open_.back() == '{' ? State::kMember : State::kValue;
      }
      return c == (open_.back() == '{' ? '}' : ']') ? close() : State::kBroken;
    default:
      return State::kBroken;
  }
}

JsonShape::State JsonShape::begin(char c) {
  if (c == '"') {
    isName_ = false;
    return State::kString;
  }
  if (c == '{' || c == '[') {
    open_ += c;
    if (open_.size() > kMaxDepth) {
      return State::kBroken;
    }
    return c == '{' ? State::kFirstMember : State::kFirstItem;
  }
  return isOfScalar(c) ? State::kScalar : State::kBroken;
}

JsonShape::State JsonShape::close() {
  open_.pop_back();
  return afterValue();
}

JsonShape::State JsonShape::afterValue() const {
  return open_.empty() ? State::kEnd : State::kNext;
}

}  // namespace KorvoCtl
