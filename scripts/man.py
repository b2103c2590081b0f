#!/usr/bin/env python3
"""Writes manual pages from what Doxygen has written as XML: one for each class and flat function, and an overview.

    man.py XML_DIR MAN_DIR VERSION"""
import os
import re
import shutil
import sys
import xml.etree.ElementTree as ElementTree

xml_dir, man_dir, version = sys.argv[1:]


def load(refid):
    return ElementTree.parse(os.path.join(xml_dir, refid + ".xml")).getroot().find("compounddef")


def plain(node):
    """The text of a node in one line."""
    return " ".join("".join(node.itertext()).split()) if node is not None else ""


def escape(text):
    return text.replace("\\", "\\e").replace("-", "\\-").replace("'", "\\(aq").replace("`", "\\(ga")


def line(text):
    """A line of text that roff does not take for a request."""
    return "\\&" + text if text.startswith((".", "'")) else text


def inline(node):
    """A node without blocks in it, in one line, with its fonts."""
    font = {"computeroutput": "B", "bold": "B", "emphasis": "I"}.get(node.tag)
    text = escape(node.text or "") + "".join(inline(child) + escape(child.tail or "") for child in node)
    return f"\\f{font}{text}\\fR" if font and text.strip() else text


def example_block(lines):
    return [".PP", ".in +4n", ".EX", *[line(escape(text)) for text in lines], ".EE", ".in"]


def code(node):
    lines = []
    for codeline in node.iter("codeline"):
        for blank in codeline.iter("sp"):
            blank.text = " "
        lines.append("".join(codeline.itertext()))
    return example_block(lines)


def table(node):
    rows = [[" ".join(inline(entry).split()) for entry in row.findall("entry")] for row in node.findall("row")]
    cells = ["\t".join("T{\n" + line(cell) + "\nT}" if cell else "" for cell in row) for row in rows]
    return [".PP", ".TS", "allbox;", " ".join(["lb"] * len(rows[0])), " ".join(["l"] * len(rows[0])) + ".", *cells, ".TE", ".sp"]


def parameters(node, nested):
    """A list; in the page of a class below its member."""
    out = []
    for item in node.findall("parameteritem"):
        names = ", ".join(plain(name) for name in item.iter("parametername"))
        out += [".TP", f".I {escape(names)}", *blocks(item.find("parameterdescription"), first=False)]
    return [".RS", *out, ".RE"] if nested else out


def blocks(node, first=True, skip=(), nested=False):
    """The paragraphs of a node. Those of the kinds in @p skip are left out: they have sections of their own."""
    out, text = [], ""

    def flush():
        nonlocal text, first
        text = " ".join(text.split())
        if text:
            out.extend(([".PP"] if first else []) + [line(text)])
            first = True
        text = ""

    for para in [] if node is None else node:
        text += escape(para.text or "") if para.tag == "para" else ""
        for part in para:
            kind = part.get("kind") or part.tag
            if part.tag in ("table", "programlisting", "parameterlist", "simplesect", "itemizedlist", "verbatim", "simplesectsep"):
                flush()
                if kind in skip:
                    pass
                elif part.tag == "table":
                    out += table(part)
                elif part.tag == "programlisting":
                    out += code(part)
                elif part.tag == "parameterlist":
                    out += parameters(part, nested)
                elif part.tag == "simplesect":
                    body = blocks(part, first=False)
                    out += ([".PP", "Returns " + body[0]] + body[1:] if kind == "return" and body else [".PP"] + body)
                elif part.tag == "verbatim":
                    out += example_block(part.text.splitlines())
            else:
                text += inline(part)
            text += escape(part.tail or "")
        flush()
    return out


def description(node, skip=(), nested=False):
    return blocks(node.find("briefdescription"), True, skip) + blocks(node.find("detaileddescription"), True, skip, nested)


def prototype(member):
    kind = "static " if member.get("static") == "yes" else ""
    arguments = re.sub(r"\s*=\s*(delete|default)$", "", member.findtext("argsstring") or "")
    return re.sub(r"([*&]) (?=\w)", r"\1", f"{kind}{plain(member.find('type'))} {member.findtext('name')}{arguments};".strip())


def brief(node):
    """The first sentence, to go into the line of the name."""
    text = plain(node.find("briefdescription")) or plain(node.find("detaileddescription"))
    return re.split(r"(?<=[a-z)\"0-9])[.:;] ", text)[0].rstrip(".")


def write(name, title, body, related):
    related = [f"\\%\\fB{escape(other)}\\fR(3)" for other in related if other != name]
    head = ["'\\\" t", f".TH {name} 3 \"\" \"libZQFoundation {version}\" \"libZQFoundation\"", ".nh", ".ad l", ".SH NAME",
            f"{name} \\- {escape(title)}"]
    with open(os.path.join(man_dir, "man3", name + ".3"), "w", encoding="utf-8") as page:
        page.write("\n".join(head + body + ([".SH SEE ALSO", ", ".join(related)] if related else [])) + "\n")


def synopsis(header, declarations):
    return [".SH SYNOPSIS", ".nf", f".B #include <{header}>", ".PP", *[".B " + '"' + escape(text).replace('"', '\\(dq') + '"'
                                                                    for text in declarations], ".fi", ".PP", "Link with \\fI\\-lZQFoundation\\fR."]


def members(compound):
    for section in sorted(compound.findall("sectiondef"), key=lambda section: section.get("kind") == "user-defined"):
        for member in section.findall("memberdef"):
            deleted = (member.findtext("argsstring") or "").replace(" ", "").endswith("=delete")
            if member.get("prot") == "public" and member.get("kind") in ("function", "enum", "typedef", "variable") and not deleted:
                yield section, member


def class_page(compound, example, related):
    name = compound.findtext("compoundname")
    functions = [member for _, member in members(compound) if member.get("kind") == "function"]
    template = ", ".join(plain(param) for param in compound.findall("templateparamlist/param"))
    head = ([f"template <{template}>"] if template else []) + [compound.get("kind") + " " + name, "{"]
    head += ["public:"] if compound.get("kind") == "class" else []
    data = [f"    {plain(member.find('type'))} {member.findtext('name')};" for _, member in members(compound)
            if member.get("kind") == "variable"]
    intro = synopsis(plain(compound.find("includes")), head + ["    " + prototype(member) for member in functions] + data + ["};"])
    intro += [".SH DESCRIPTION"] + description(compound)[1:]
    body, last = [], None
    for section, member in members(compound):
        if section is not last and section.findtext("header"):
            body += [".SS " + escape(section.findtext("header"))] + blocks(section.find("description"))
        last = section
        kind = member.get("kind")
        what = prototype(member) if kind == "function" else member.findtext("definition") or f"enum {member.findtext('name')}"
        body += [".TP", f".B \"{escape(what)}\""] + (description(member, nested=True)[1:] or ["As its name says."])
        for value in member.findall("enumvalue"):
            body += [".RS", ".TP", f".B {value.findtext('name')}", *(description(value)[1:] or [""]), ".RE"]
    body = [".IP" if row == ".PP" else row for row in body]  # paragraphs stay below their member
    write(name, brief(compound), intro + ([".SH MEMBERS"] + body if body else []) + example, related)


def function_page(section, member, header, example, related):
    body = synopsis(header, [prototype(member)]) + [".SH DESCRIPTION"] + description(member, skip=("return",))[1:]
    for returned in member.iter("simplesect"):
        if returned.get("kind") == "return":
            text = blocks(returned, first=False)
            text[0] = text[0][:1].upper() + text[0][1:]
            text[-1] += "" if text[-1].endswith(".") else "."
            body += [".SH RETURN VALUE"] + text
    notes = blocks(section.find("description"))[1:]
    write(member.findtext("name"), brief(member), body + ([".SH NOTES"] + notes if notes else []) + example, related)


shutil.rmtree(man_dir, ignore_errors=True)
os.makedirs(os.path.join(man_dir, "man3"))
overview = []
for entry in ElementTree.parse(os.path.join(xml_dir, "index.xml")).getroot().findall("compound[@kind='group']"):
    group = load(entry.get("refid"))
    listing = next(group.iter("programlisting"), None)
    source = "\n".join(code(listing)) if listing is not None else ""
    classes = [load(inner.get("refid")) for inner in group.findall("innerclass") if "::" not in inner.text]
    functions = [(section, member) for section, member in members(group) if member.get("kind") == "function"]
    names = [node.findtext("compoundname") for node in classes] + [member.findtext("name") for _, member in functions]

    def example(name):
        return [".SH EXAMPLES", *source.splitlines()] if re.search(rf"\b{name}\b", source) else []

    for node in classes:
        class_page(node, example(node.findtext("compoundname")), names + ["ZQFoundation"])
    for section, member in functions:
        header = os.path.basename(member.find("location").get("file"))
        function_page(section, member, header, example(member.findtext("name")), names + ["ZQFoundation"])
    overview += [f".SS {escape(group.findtext('title'))}", line(escape(plain(group.find("briefdescription"))))]
    overview += [".PP", ",\n".join(f"\\%\\fB{escape(name)}\\fR(3)" for name in names)]
write("ZQFoundation", "locks, threads, pools, clocks and system functions for programs that run for months",
      [*synopsis("ZQFoundation.h", []), ".SH DESCRIPTION", "These are the classes and functions of the library, by module.", *overview], [])
