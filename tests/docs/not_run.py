"""Blocks of the documents that are not run: by document and first line, each with the reason."""

kNotRun = {
    "README.md": {
        "./dev demo     # a simulated switch with an operator's first questions to it":
            "builds the tree, and runs the tests that this is one of",
        "tests/docs/run_examples.py --update":
            "writes into the documents that are being read",
        "./dev build release && sudo cmake --install build/release":
            "writes to the system; tests/install does it in folders of its own",
    },
    "docs/architecture.md": {
        "                     text/                   texts from outside: UTF-8, escapes, near names": "no command: a picture",
        ' korvoctl --"async json MACT_ALL"--> Listener -> Connection -> CommandEntries -> callback -> handler -> machine':
            "no command: a picture",
        " slice 1          slice 2          slice 3              slice 4": "no command: a picture",
        " B-tree of fences     10 a            20 c            30 a": "no command: a picture",
    },
    "docs/performance.md": {
        "./dev bench --large           # the README's table: tables of up to ten million rows, four minutes":
            "takes minutes and another build",
    },
    "docs/reliability.md": {
        'seed 18: async text "VLAN_XLATE_STATUS" with reader 0, ...: row 1 of "Vlan SVP Entries:" is missing, ...':
            "no command: what a simulated life prints when the code has a fault",
    },
    "docs/man/korvo-l2-agent.8": {
        "ENTRY FORMAT COMMAND": "no command: the form of a request line",
    },
}
