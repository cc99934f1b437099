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

/** What a section prints around its rows. */
struct SectionLayout {
  std::string_view title;
  std::string_view heads;
  std::string_view rule;
  std::string_view count;      ///< printf-style, takes the number of entries
  std::string_view directory;  ///< as the trace calls it
};

class VlanXlateSwRequestSmBase : public AgentCommand::AgentAsyncCommandRequestSm {
 public:
  /** Does nothing: the machine needs no preparation. */
  void handleInitialized() {}
  /** Starts a slice: the first one writes the preamble and sets inProgress, later ones clear
   * yielding. */
  KORVO_L2_API void getAsyncState();

  /** Set once the preamble is written and the walk may run; cleared at completion. */
  QEL_ATTRIBUTE(bool, inProgress)
  /** This slice has yielded; what is left is for the next one. */
  QEL_ATTRIBUTE(bool, yielding)

 protected:
  /** A directory, never null, and how far its dump is; see KORVO_L2_SECTION. */
  template <class Dir>
  struct Section {
    std::string_view startedName;
    std::string_view completeName;
    ResumableWalk<typename Dir::Entries> walk;
    Qel::Ptr<const Dir> directory = nullptr;
    bool started = false;
    bool complete = false;
  };

  using AgentAsyncCommandRequestSm::AgentAsyncCommandRequestSm;
  ~VlanXlateSwRequestSmBase() override;

  /**
   * Shows what this slice can show of a section; nothing once the section is complete or the slice
   * has yielded. `site` is the machine's walk; `printRow` prints one entry, void(FixedLine, const
   * Entry&).
   */
  template <class Dir, class PrintRow>
  void showSection(const Qel::TraceSite& site, const SectionLayout& layout, Section<Dir>& section,
                   PrintRow&& printRow) {
    if (section.complete || yielding()) return;
    const auto& entries = section.directory->entries;
    Rendering::RendererV2& out = renderer();
    if (!entries.empty()) {
      if (!section.started) {
        // As formats: line feeds among the arguments of one are taken for those of a name.
        for (const auto& lines : {layout.title, layout.rule, layout.heads, layout.rule}) {
          out.addFrills(lines);
        }
        attributeIs(section.started, true, section.startedName);
      }
      Rendering::PrintBuffer& buffer = out.buffer();
      const bool text = !out.isJson();
      const WalkEnd end = section.walk.runSlice(entries, *this, site, [&](const auto& entry) {
        if (text) printRow(Rendering::FixedLine(buffer), entry);
        return RowOutcome::printed;
      });
      if (end == WalkEnd::yielded) return yieldingIs(true);
      KORVO_L2_TRACE_AT(8, site, "Done iterating through {}", layout.directory);
      out.addFrills(layout.rule);
    }
    attributeIs(section.complete, true, section.completeName);
    out.addFrills(layout.count, entries.size());
  }

  void executionComplete();
};

}  // namespace KorvoL2

/**
 * In the body of a machine: the section `name##_`, and as the machine's attributes its directory,
 * whether its heads are printed, whether all of it is printed, and the key at which its walk goes
 * on. The machine's constructor sets the directory.
 */
#define KORVO_L2_SECTION(Dir, dir, name)                                                       \
 private:                                                                                      \
  Section<Dir> name##_{#name "Started", #name "Complete",                                      \
                       ResumableWalk<Dir::Entries>(#name "Bookmark")};                         \
                                                                                               \
 public:                                                                                       \
  const Qel::Ptr<const Dir>& dir() const noexcept { return name##_.directory; }                \
  bool name##Started() const noexcept { return name##_.started; }                              \
  void name##StartedIs(bool is) { attributeIs(name##_.started, is, name##_.startedName); }     \
  bool name##Complete() const noexcept { return name##_.complete; }                            \
  void name##CompleteIs(bool is) { attributeIs(name##_.complete, is, name##_.completeName); }  \
  const Dir::Entries::Key& name##Bookmark() const noexcept { return name##_.walk.bookmark(); } \
  void name##BookmarkIs(const Dir::Entries::Key& key) { name##_.walk.bookmarkIs(*this, key); }
