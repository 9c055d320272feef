"""Views of kq's types for GDB: job tickets and states, shared references, the state of progress.

    (gdb) source kq_printers.py
    (gdb) print ticket
    $1 = failed: disk full

They need symbols that GDB reads, which are those of GCC; `print /r` shows a value without them.
"""

import gdb
import gdb.printing

JOB_STATUS = ("pending", "running", "done", "failed", "removed")


def find_pointer(value):
    """The first pointer in a smart pointer, of whichever library: it is the one to the object."""
    if value.type.strip_typedefs().code == gdb.TYPE_CODE_PTR:
        return value
    for field in value.type.strip_typedefs().fields():
        if not hasattr(field, "bitpos"):
            continue  # static
        found = find_pointer(value[field])
        if found is not None:
            return found
    return None


def number_of(atomic):
    """The value of an atomic integer, which is all that it holds."""
    return int(atomic.address.cast(gdb.lookup_type("unsigned int").pointer()).dereference())


def text_of(string):
    """The characters of a std::string or std::wstring, as libstdc++ keeps them."""
    characters = string["_M_dataplus"]["_M_p"]
    encoding = {1: "utf-8", 2: "utf-16-le", 4: "utf-32-le"}[characters.dereference().type.sizeof]
    return characters.string(encoding=encoding, errors="replace",
                             length=int(string["_M_string_length"]))


class JobState:
    """kq::concurrency::CJobState"""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        word = number_of(self.value["word_"])
        status = word & 7
        text = JOB_STATUS[status] if status < len(JOB_STATUS) else f"unknown status {status}"
        if text == "running":
            text += f" on thread {number_of(self.value['thread_'])}"
        if text == "failed":
            error = find_pointer(self.value["errorText_"])
            if int(error) != 0:
                text += ": " + text_of(error.dereference())
        return text + (", waited for" if word & 8 else "")


class JobTicket:
    """kq::concurrency::CJobTicket"""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        state = find_pointer(self.value["state_"])
        if int(state) == 0:
            return "no job"
        # Only the library itself knows the type completely.
        known = gdb.lookup_type("kq::concurrency::CJobState")
        return JobState(state.cast(known.pointer()).dereference()).to_string()


class SharedRef:
    """kq::shared_ref<T, Ptr>"""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return "refers to"

    def children(self):
        yield "object", find_pointer(self.value["pointer_"]).dereference()


class ProgressState:
    """kq::progress::ProgressState"""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        status = str(self.value["status"]).rsplit("::", 1)[-1]
        text = f"{100 * float(self.value['progress']):.4g} %, {status}, \"{text_of(self.value['name'])}\""
        step = text_of(self.value["text"])
        return f"{text}, at \"{step}\"" if step else text


def build():
    printers = gdb.printing.RegexpCollectionPrettyPrinter("kq")
    printers.add_printer("job state", "^kq::concurrency::(CJobState|CQueueJobAdapter)$", JobState)
    printers.add_printer("job ticket", "^kq::concurrency::CJobTicket$", JobTicket)
    printers.add_printer("shared reference", "^kq::shared_ref<.*>$", SharedRef)
    printers.add_printer("progress state", "^kq::progress::ProgressState$", ProgressState)
    return printers


gdb.printing.register_pretty_printer(gdb.current_objfile(), build(), replace=True)
