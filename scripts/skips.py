#!/usr/bin/python3
"""Fails when a run of ctest skipped a test for a reason that is not on the list below.

    scripts/skips.py RESULTS      RESULTS is what `ctest --output-junit` wrote, in the folder of a preset

Exit status: 0 every skipped test is on the list, 1 some are not, 2 there are no results to read.
"""

import fnmatch
import os
import sys
import xml.etree.ElementTree


def sanitized(preset):
    return preset in ("asan", "tsan")


def withRoot(_preset):
    return os.geteuid() == 0


# Which tests, where, and why they cannot run there.
ALLOWED = [
    ("agent_server_test.SocketGroupTest.AGroupThatTheFileCannotBeGivenToIsSaidAndNothingIsLeft", withRoot,
     "root may give a file to every group"),
    ("agent_server_test.ServerListenTest.WithoutDescriptorsClientsAreTurnedAwayAndTheLoopRests", sanitized,
     "a sanitizer needs descriptors of its own"),
    ("agent_server_test.ServerAcceptPauseTest.SoTheyAreWhenNoDescriptorIsLeftToTurnThemAwayWith", sanitized,
     "a sanitizer needs descriptors of its own"),
    ("platform_l2_test.VlanVpListTest.RowsThatComeInOrderTakeAboutTenBytesEach", sanitized,
     "a sanitizer's allocator does not tell what is in use"),
    ("end_to_end.test_memory.*", sanitized, "a sanitizer and valgrind do not go together"),
    ("end_to_end.test_security.Hardening.*", sanitized, "a sanitizer's build is not what is installed"),
    ("end_to_end.test_security.OpenFiles.test_no_memory_of_the_agent_is_shared_writable_*", sanitized,
     "a sanitizer maps memory of its own"),
    ("end_to_end.test_start.EndlessDocuments.test_a_document_that_memory_does_not_hold_is_refused_by_name",
     sanitized, "a sanitizer takes address space by the terabyte"),
    ("end_to_end.test_commands.Commands.test_dump_that_nobody_reads_costs_at_most_two_mebibytes", sanitized,
     "a sanitizer's memory is not the agent's"),
    ("end_to_end.test_hardware.Hardware.test_memory_of_a_large_check_goes_back_to_the_system", sanitized,
     "a sanitizer's memory is not the agent's"),
    ("end_to_end.test_vxlan_scale.VxlanScale.test_*_leave*_room_for_others", sanitized,
     "a sanitizer's memory is not the agent's"),
    ("end_to_end.test_load.OneThread.test_whatever_the_agent_does_it_does_in_one_thread", sanitized,
     "a sanitizer may have a thread of its own"),
]


def isAllowed(test, preset):
    return any(fnmatch.fnmatchcase(test, pattern) and holds(preset) for pattern, holds, _ in ALLOWED)


def main(results):
    try:
        cases = list(xml.etree.ElementTree.parse(results).iter("testcase"))
    except (OSError, xml.etree.ElementTree.ParseError) as problem:
        print(f"skips: {results}: {problem}", file=sys.stderr)
        return 2
    preset = os.path.basename(os.path.dirname(os.path.abspath(results)))
    unexpected = [case.get("name") for case in cases
                  if case.find("skipped") is not None and not isAllowed(case.get("name"), preset)]
    for test in unexpected:
        print(f"skips: {test} was skipped: install or permit what it needs, or write its reason into "
              "scripts/skips.py", file=sys.stderr)
    return 1 if unexpected else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
