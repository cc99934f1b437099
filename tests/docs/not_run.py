"""Blocks of the documents that are not run: by document and first line, each with the reason."""

kNotRun = {
    "README.md": {
        "./dev demo     # a simulated switch with an operator's first questions to it":
            "builds the tree, and runs the tests that this is one of",
        "tests/docs/run_examples.py --update":
            "writes into the documents that are being read",
        "./dev build release && sudo cmake --install build/release":
            "writes to the system; tests/install does it in folders of its own",
        "platform/   what the plug-in and its host share; depends on nothing here":
            "no command: folders and what is in them",
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
