// What the two dumps of the agent's software VLAN translation tables share: sections that are
// walked one after the other.
//
// A section is one directory: a title, column heads between rules, a row for each entry, a rule and
// a line with the number of entries that the directory holds at that moment. Of an empty directory
// there is the last line alone. Each section has a walk of its own; a slice may end inside any of
// them, and the next one goes on there. A slice that runs out right after the last row of a section
// still ends that section and goes on with the next one.
//
// The tables are text. The JSON form of these commands is an empty object.
//
// Threading: the agent's event-loop thread only. The directories may change between two slices;
// what a walk promises then is written in ResumableWalk.h.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "KorvoL2/Export.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/RequestSmSupport.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/ResumableWalk.h"
#include "KorvoL2/Trace.h"
#include "platform/command/AgentAsyncCommandRequestSm.h"
#include "platform/rendering/FixedLine.h"

namespace KorvoL2 {

/** What a section prints around its rows, and the names under which its state is published. */
struct SectionLayout {
  std::string_view title;
  std::string_view heads;
  std::string_view rule;
  std::string_view count;      ///< printf-style, takes the number of entries
  std::string_view directory;  ///< as the trace calls it
  std::string_view startedName;
  std::string_view completeName;
  std::string_view bookmarkName;
};

class VlanXlateSwRequestSmBase : public AgentCommand::AgentAsyncCommandRequestSm {
 public:
  /** Does nothing: the machine needs no preparation. */
  void handleInitialized() {}
  /** Starts a slice: the first one writes the preamble and sets inProgress, later ones clear
   * yielding. */
  KORVO_L2_API void getAsyncState();

  /** Set once the preamble is written and the walk may run; cleared at completion. */
  bool inProgress() const noexcept { return inProgress_; }
  void inProgressIs(bool inProgress) { attributeIs(inProgress_, inProgress, "inProgress"); }
  /** This slice has yielded; what is left is for the next one. */
  bool yielding() const noexcept { return yielding_; }
  void yieldingIs(bool yielding) { attributeIs(yielding_, yielding, "yielding"); }

 protected:
  template <class Dir>
  class Section {
   public:
    using Key = typename Dir::Entries::Key;
    using Entry = typename Dir::Entries::Entry;

    /** Null for the directory stands for an empty one. */
    Section(const SectionLayout& layout, Qel::Ptr<const Dir> directory)
        : layout_(layout), directory_(recordOrEmpty(std::move(directory))) {}

    const Qel::Ptr<const Dir>& directory() const noexcept { return directory_; }
    /** Whether the heads are printed. */
    bool started() const noexcept { return started_; }
    /** Whether the number of entries is printed, and so all of the section. */
    bool complete() const noexcept { return complete_; }
    /** The key at which the walk goes on. */
    const Key& bookmark() const noexcept { return walk_.bookmark(); }

   private:
    friend class VlanXlateSwRequestSmBase;
    const SectionLayout& layout_;
    Qel::Ptr<const Dir> directory_;
    bool started_ = false;
    bool complete_ = false;
    ResumableWalk<typename Dir::Entries> walk_;
  };

  using AgentAsyncCommandRequestSm::AgentAsyncCommandRequestSm;
  ~VlanXlateSwRequestSmBase() override;

  // Setters of a section's attributes, published under its names.
  template <class Dir>
  void startedIs(Section<Dir>& section, bool started) {
    attributeIs(section.started_, started, section.layout_.startedName);
  }
  template <class Dir>
  void completeIs(Section<Dir>& section, bool complete) {
    attributeIs(section.complete_, complete, section.layout_.completeName);
  }
  template <class Dir>
  void bookmarkIs(Section<Dir>& section, const typename Section<Dir>::Key& bookmark) {
    if (section.walk_.bookmark() == bookmark) return;
    section.walk_.bookmarkIs(bookmark);
    changed(section.layout_.bookmarkName);
  }

  /**
   * Shows what this slice can show of a section; nothing once the section is complete or the slice
   * has yielded. `printRow` prints one entry, void(FixedLine, const Entry&).
   */
  template <class Dir, class PrintRow>
  void showSection(Section<Dir>& section, PrintRow&& printRow) {
    if (section.complete_ || yielding_) return;
    const SectionLayout& layout = section.layout_;
    const auto& entries = section.directory_->entries;
    Rendering::RendererV2& out = renderer();
    if (!entries.empty()) {
      if (!section.started_) {
        // As formats: line feeds among the arguments of one are taken for those of a name.
        for (const auto& lines : {layout.title, layout.rule, layout.heads, layout.rule}) {
          out.addFrills(lines);
        }
        startedIs(section, true);
      }
      Rendering::PrintBuffer& buffer = out.buffer();
      const bool text = !out.isJson();
      const WalkEnd end = section.walk_.runSlice(entries, *this, [&](const auto& entry) {
        if (text) printRow(Rendering::FixedLine(buffer), entry);
        return RowOutcome::printed;
      });
      if (end == WalkEnd::yielded) {
        changed(layout.bookmarkName);
        yieldingIs(true);
        return;
      }
      QEL_TRACE(trace(), 8, "Done iterating through {}", layout.directory);
      out.addFrills(layout.rule);
    }
    completeIs(section, true);
    out.addFrills(layout.count, entries.size());
  }

  void executionComplete();

 private:
  bool inProgress_ = false;
  bool yielding_ = false;
};

}  // namespace KorvoL2
