#!/usr/bin/env python3
"""The promise sheet has a row for every exported function and for those of the headers, and for nothing else.

    promises.py SHEET EXPORTS"""
import re
import subprocess
import sys

sheet, scope = set(), ""
for line in open(sys.argv[1]):
    if line.startswith("## "):
        name = line[3:].strip()
        scope = None if "templates" in name else name + "::" if name.startswith("ZQ") else ""
    elif line.startswith("| `") and scope is not None:
        sheet |= {scope + name for name in re.findall(r"`([^`]+)`", line.split(" | ")[0])}

# Members that the library exports although they are private, and what the compiler adds.
private = {"ZQMemoryPool::" + name for name in
           "AddOrdered CallocNext ChunckMallocSliceN FindPrev MallocN Segregate TryMallocN".split()}
private |= {"ZQMutex::LockFailed", "ZQMutex::UnlockFailed"}
# Functions whose bodies are in the headers.
inline = {"ZQMutex::Lock", "ZQMutex::Unlock", "ZQAutoMutex::ZQAutoMutex", "ZQAutoMutex::~ZQAutoMutex"}
text = subprocess.run(["c++filt"], stdin=open(sys.argv[2]), stdout=subprocess.PIPE, text=True, check=True).stdout
exports = set(inline)
for line in text.splitlines():
    if not re.match(r"(typeinfo|vtable) ", line):
        name = re.sub(r"^unsigned long long |<unsigned long long>", "", line)
        exports.add(re.match(r"[^(]+", name).group())
missing, surplus = exports - private - sheet, sheet - exports
if not exports or missing or surplus:
    sys.exit(f"no row: {sorted(missing)}\nno function: {sorted(surplus)}")
