"""count_tests.py JUNIT_FILE: prints "PASSED FAILED SKIPPED" of a CTest run, from its JUnit file."""

import sys
import xml.etree.ElementTree

passed = failed = skipped = 0
for case in xml.etree.ElementTree.parse(sys.argv[1]).getroot().iter("testcase"):
    reason = case.find("skipped")
    if case.get("status") == "run":
        passed += 1
    elif case.get("status") == "disabled":
        skipped += 1
    elif reason is not None and reason.get("message", "").startswith("SKIP_"):
        skipped += 1  # the test said so itself; a program that couldn't be started is a failure
    else:
        failed += 1
print(passed, failed, skipped)
