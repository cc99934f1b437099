// What the expectations of the two MAC table checks share.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "tests/KorvoL2/RequestHarness.h"
#include "tests/documents/Dump.h"

namespace KorvoL2::Testing {

/** A report of rows and totals, of which the totals count a row as often as it is printed. */
class MacReport : public Dump {
 public:
  MacReport(bool json, bool detail, std::string head)
      : json_(json), detail_(detail), head_(std::move(head)) {
    addChip(*helper_, 0, "Linecard3/0");
    addChip(*helper_, 2, "Linecard4/0");
  }

  Document document() const final { return documentRepeatedFrom(size()); }
  Document documentRepeatedFrom(std::size_t from) const final {
    std::vector<std::size_t> printed;
    for (std::size_t row = 0; row < size(); ++row) printed.push_back(row);
    for (std::size_t row = from; row < size(); ++row) printed.push_back(row);
    Document document;
    std::string pending = head_;
    for (const std::size_t row : printed) {
      if (json_ && !document.pieces.empty()) pending = ",";
      document.pieces.push_back(std::exchange(pending, {}) + rows_[row]);
    }
    document.tail = pending + (json_ ? "]}\n" : totals(printed));
    return document;
  }

 protected:
  /** The chips that the check is about. */
  static constexpr const char* kChips = "2,0";

  bool json() const noexcept { return json_; }
  bool detail() const noexcept { return detail_; }
  void rowIs(std::string text) { rows_.push_back(std::move(text)); }
  FakeMacAddrSmHelper& helper() noexcept { return *helper_; }
  KorvoL2McastHelper* mcastHelper() noexcept { return mcastHelper_.get(); }

 private:
  virtual std::string totals(const std::vector<std::size_t>& printed) const = 0;

  bool json_;
  bool detail_;
  std::string head_;
  std::vector<std::string> rows_;
  Qel::Ptr<FakeMacAddrSmHelper> helper_ = Qel::makePtr<FakeMacAddrSmHelper>();
  Qel::Ptr<FakeMcastHelper> mcastHelper_ = Qel::makePtr<FakeMcastHelper>();
};

}  // namespace KorvoL2::Testing
