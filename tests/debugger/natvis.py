"""natvis.py NATVIS ROOT: whether the types and members that the views name are in the sources.

A view with a name that is not there shows nothing, and nobody is told.
"""

import os
import re
import sys
import xml.etree.ElementTree as tree

natvis, root = sys.argv[1:3]
mistakes = []
texts = []
for part in ("include", "src"):
    for folder, _, names in os.walk(os.path.join(root, part)):
        for name in names:
            if name.endswith(".h"):
                with open(os.path.join(folder, name), encoding="utf-8") as file:
                    texts.append(file.read())


def body_of(name):
    """The definition of a class, up to the brace in the first column that closes it."""
    for text in texts:
        found = re.search(rf"^(?:class|struct)(?: KQ_API)? {name}(?: final)?[^;{{]*{{.*?^}};", text,
                          re.MULTILINE | re.DOTALL)
        if found:
            return found.group()
    return None


space = "{http://schemas.microsoft.com/vstudio/debugger/natvis/2010}"
types = tree.parse(natvis).getroot().findall(space + "Type")
for type_ in types:
    name = type_.get("Name")
    body = body_of(re.sub(r"<.*", "", name).rsplit("::", 1)[-1])
    if body is None:
        mistakes.append(f"no type {name}")
        continue
    own = {element.get("Name") for element in type_.iter(space + "Intrinsic")}
    expressions = [element.get(key) for element in type_.iter() for key in ("Expression", "Condition")
                   if element.get(key)]
    for element in type_.iter():
        if element.tag == space + "DisplayString":
            expressions += re.findall(r"{([^},]*)", element.text)
        elif element.text and element.text.strip():
            expressions.append(element.text)
    known = own | {"unsigned", "int", "nullptr"}
    for expression in expressions:
        for word in re.findall(r"(?<![\w$:])[A-Za-z_]\w*(?!\w|::)", re.sub(r"kq(::\w+)+", "", expression)):
            if word not in known and not re.search(rf"\b{word}\b(?: = [\w:.]+|{{.*}})?;", body):
                mistakes.append(f"{name} has no member {word}, in '{expression}'")

if not types:
    mistakes.append("no views")
for mistake in mistakes:
    print(mistake)
sys.exit(1 if mistakes else 0)
