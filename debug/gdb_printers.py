"""GDB pretty-printers for the objects of libVerrick.

GDB loads this file together with the library, because it is installed in GDB's auto-load folder under
the library's name. "info pretty-printer" lists the printers under "libVerrick". They read the
library's private fields, so they need the library's debug information.

A facade such as DEvent prints as the object behind it. A null or freed object prints as its address.
"""

import gdb
import gdb.printing


def atomic(value):
    """Returns what a std::atomic holds. Its value lies at its own address, whatever the C++ library."""
    inner = value.type.strip_typedefs().template_argument(0)
    return value.address.cast(inner.pointer()).dereference()


def base_class(value, name):
    """Returns the part of the value that is the base class of that name."""
    return value.cast(gdb.lookup_type(name))


def items(dlist, type_name):
    """Returns the items of a DList, as objects of that type."""
    item_type = gdb.lookup_type(type_name).pointer()
    item = base_class(dlist, "DListItem")["m_next"]
    for _ in range(int(dlist["m_count"])):
        yield item.cast(item_type).dereference()
        item = item["m_next"]


def event_text(event, auto_reset, ending):
    word = atomic(event["m_signaled"]["m_word"])
    bits = 8 * word.type.sizeof
    # The word's third value says that threads wait. It is the smallest signed or the largest unsigned.
    awaited = -(1 << (bits - 1)) if gdb.Value(-1).cast(word.type) < 0 else (1 << bits) - 1
    state = "unsignalled" if int(word) in (0, awaited) else "signalled"
    if int(atomic(event[ending])) != 0:
        state = "ending"
    kind = "auto-reset" if auto_reset else "manual-reset"
    return "event: %s, %s, %d waiting" % (state, kind, int(atomic(event["m_waiters"])))


def semaphore_text(semaphore, maximum, bank):
    """The C library's record: one word of 64 bits, or several of 32 bits with a flag in the count."""
    sem = semaphore.address
    if gdb.lookup_type("long").sizeof == 8:
        word = int(sem.cast(gdb.lookup_type("unsigned long").pointer()).dereference())
        count, waiting = word & 0xFFFFFFFF, word >> 32
    else:
        words = sem.cast(gdb.lookup_type("unsigned int").pointer())
        count, waiting = int(words[0]) >> 1, int(words[3])
    return "count %d of at most %d, %d waiting" % (count + bank, maximum, waiting)


def event_behind_handle(event):
    return event_text(event, int(event["m_manualReset"]) == 0, "m_closing")


def event_impl(event):
    return event_text(event, bool(event["m_autoReset"]), "m_destroying")


def semaphore_behind_handle(semaphore):
    bank = int(atomic(semaphore["m_count"]))
    return "semaphore: " + semaphore_text(semaphore["m_sem"], int(semaphore["m_max"]), bank)


HANDLE_KINDS = {"XEvent": event_behind_handle, "XSemaphore": semaphore_behind_handle}


def semaphore_node(node):
    name = "" if int(node["m_name"]) == 0 else " " + node["m_name"].format_string(address=False)
    bank = int(atomic(node["m_bank"]))
    return "semaphore%s: %s" % (name, semaphore_text(node["m_sem"], int(node["m_max"]), bank))


def handle(value):
    """A HANDLE is the address of an XHandleObject. Programs derive kinds of their own from that."""
    if int(value) == 0:
        return "null handle"
    thing = value.cast(gdb.lookup_type("XHandleObject").pointer()).dereference()
    kind = thing.dynamic_type
    if kind.name in HANDLE_KINDS:
        return "handle of %s" % HANDLE_KINDS[kind.name](thing.cast(kind))
    return "handle of %s, type 0x%x" % (kind.name, int(thing["m_type"]))


def queue(record):
    """Each queue has more behind its record, in a class that only its own source knows."""
    block = gdb.lookup_global_symbol("MsgQSend").symtab.static_block()
    whole = gdb.lookup_type("(anonymous namespace)::Queue", block)
    sides = record.address.cast(whole.pointer())["m_waiting"]["m_lists"]
    return "queue: %d of %d messages, %d sending, %d receiving" % (
        int(atomic(record["m_numMsgs"])), int(record["m_maxMsgs"]),
        int(sides[0]["m_count"]), int(sides[1]["m_count"]))


def ring(record):
    return "ring: %d of %d bytes" % (int(record["m_count"]), int(record["m_size"]))


THREAD_STATES = {
    "NoThread": "no thread yet", "Parked": "parked", "Started": "started, not in Run yet",
    "InRun": "in Run", "Joined": "joined", "LetGo": "let go"}


def thread(impl):
    state = THREAD_STATES[str(impl["m_state"]).split("::")[-1]]
    if state == "in Run" and bool(impl["m_hasEnded"]):
        state = "ended, not joined"
    return 'thread "%s": %s' % (impl["m_name"].string(errors="replace"), state)


def timer(item, now):
    text = "id %d for listener 0x%x" % (int(item["m_id"]), int(item["m_listener"]))
    if bool(item["m_armed"]):
        text += ", due in %d ms" % (int(item["m_due"]) - now)
    else:
        text += ", not armed"
    return text + (", every %d ms" % int(item["m_period"]) if bool(item["m_repeat"]) else "")


class Text:
    """A printer whose object is one line."""

    def __init__(self, value, describe):
        self.value, self.describe = value, describe

    def to_string(self):
        try:
            return self.describe(self.value)
        except gdb.MemoryError:
            return "unreadable object at 0x%x" % int(self.value.address or self.value)


class Timers:
    """The timer service, with a child for each timer."""

    def __init__(self, engine):
        self.engine = engine

    def to_string(self):
        return "timers: %d armed, %d not armed" % (
            int(self.engine["m_activeList"]["m_count"]), int(self.engine["m_inactiveList"]["m_count"]))

    def children(self):
        parts = self.engine["m_parts"]
        now = (int(parts["m_wraps"]) << 32) + int(self.engine["m_ticks"])
        for name in ("m_activeList", "m_inactiveList"):
            for index, item in enumerate(items(self.engine[name], "DTimeManagerImpl::Timer")):
                yield "%s[%d]" % (name, index), timer(item, now)


# Type name: what makes the printer of a value.
PRINTERS = {
    "DEventImpl": lambda value: Text(value, event_impl),
    "XEvent": lambda value: Text(value, event_behind_handle),
    "CSemaphoreNode": lambda value: Text(value, semaphore_node),
    "XSemaphore": lambda value: Text(value, semaphore_behind_handle),
    "HANDLE": lambda value: Text(value, handle),
    "MsgQueue": lambda value: Text(value, queue),
    "RingBuffer": lambda value: Text(value, ring),
    "DThreadImpl": lambda value: Text(value, thread),
    "DTimeManagerImpl": Timers,
}

# Facade: the field that leads on, and the type that it leads to.
FACADES = {
    "DEvent": ("m_impl", "DEventImpl"),
    "DSemaphore": ("m_impl", "DSemaphoreImpl"),
    "DSemaphoreImpl": ("m_node", "CSemaphoreNode"),
    "DThread": ("m_impl", "DThreadImpl"),
    "DTimeManager": ("m_impl", "DTimeManagerImpl"),
}


class Printers(gdb.printing.PrettyPrinter):
    def __init__(self):
        names = sorted(set(PRINTERS) | set(FACADES))
        super().__init__("libVerrick", [gdb.printing.SubPrettyPrinter(name) for name in names])
        self.enabled_of = {printer.name: printer for printer in self.subprinters}

    def __call__(self, value):
        # A handle is a typedef of void*. Other types are known by what their typedefs stand for.
        name = value.type.unqualified().name
        if name != "HANDLE":
            name = value.type.strip_typedefs().unqualified().name
        if name not in self.enabled_of or not self.enabled_of[name].enabled:
            return None
        while name in FACADES:
            field, name = FACADES[name]
            pointer = value[field]
            if int(pointer) == 0:
                return None
            value = pointer.cast(gdb.lookup_type(name).pointer()).dereference()
        return PRINTERS[name](value)


gdb.printing.register_pretty_printer(gdb.current_objfile(), Printers(), replace=True)
