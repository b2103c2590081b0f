"""Shows the objects of libZQFoundation in gdb, in a live process or in a core file.

Printers for ZxxList, ZxxListInner, ZQMutex, ZQMutexRW and ZQDateTime, and two commands:

  zq pools [EXPRESSION...]  the shared pool, its workers and queue, and the task pools that they work for;
                            with expressions, those pools: ZQTaskPool, ZQRefThreadPool or pointers to them
  zq timers                 the timer module and each of its started timers

An installed library under /usr brings this along; otherwise: gdb -x zqfoundation.py, or "source zqfoundation.py".
Nothing is called in the process, so nothing is changed there. A process that is stopped amid a change may show lists halfway.
"""

import time

import gdb
import gdb.printing

STARTED, STOP = 1, 2  # bits of ZQThread::m_nStatus
CLOSED, PAUSED = 1, 2  # bits of ZQTaskPoolCore::m_nStatus
NOBODY = -1


def nodes(zxx_list):
    """The nodes of a ZxxList or a ZxxListInner, first to last."""
    end = zxx_list["m_nodeEnd"]
    node = end["pNext"]
    while node not in (0, end.address):
        yield node.dereference()
        node = node["pNext"]


def elements(zxx_list):
    return (node["data"] for node in nodes(zxx_list))


def started_timers(schedule):
    """The timers of a ZQTimerSchedule, in the order in which they are handed out."""
    vector = schedule["m_vecEntries"]["_M_impl"]
    number = int(vector["_M_finish"] - vector["_M_start"])
    return sorted((vector["_M_start"][i]["pTimer"] for i in range(number)), key=int)


def code_name(function):
    """The name of the function that a pointer names."""
    address, name = int(function), None
    block = gdb.block_for_pc(address)
    while block is not None:  # outwards, past what the compiler has inlined there
        name = block.function.print_name if block.function is not None else name
        block = block.superblock
    if name is not None:
        return name
    text = gdb.execute("info symbol %#x" % address, to_string=True)
    return text.split(" in section ")[0] if " in section " in text else "%#x" % address


def count(number, thing):
    return "%d %s%s" % (number, thing, "" if number == 1 else "s")


class Threads:
    """The threads of the process, by the identifier that the library keeps, and what they run."""

    def __init__(self):
        self.by_id = {}
        for thread in gdb.selected_inferior().threads():
            try:
                self.by_id[int.from_bytes(thread.handle(), "little")] = thread
            except gdb.error:
                pass  # without libthread_db: threads are then shown by their identifiers

    def text(self, thread_id):
        thread = self.by_id.get(int(thread_id))
        if thread is None:
            return "thread %#x" % int(thread_id)
        name = ' "%s"' % thread.name if thread.name else ""  # a core file keeps no names
        return "thread %d (LWP %d)%s" % (thread.num, thread.ptid[1], name)

    def frames(self, thread_id):
        """The frames of a thread from the outermost inwards."""
        thread = self.by_id.get(int(thread_id))
        if thread is None:
            return []
        before = gdb.selected_thread()
        frames = []
        try:
            thread.switch()
            frame = gdb.newest_frame()
            while frame is not None:
                frames.insert(0, (frame.name() or "?", self.core_of(frame)))
                frame = frame.older()
        except gdb.error:
            pass  # what could be unwound is better than nothing
        finally:
            before.switch()
        return frames

    @staticmethod
    def core_of(frame):
        """The task pool's core whose member runs in a frame, or None."""
        if (frame.name() or "").startswith("ZQTaskPoolCore::"):
            try:
                this = frame.read_var("this")
                return None if this.is_optimized_out else int(this)
            except (ValueError, gdb.error):
                pass
        return None

    def work(self, thread_id):
        """What a worker runs, and for which core: the first function inside the pool's own that is not the library's."""
        core, inside = None, False
        for name, frame_core in self.frames(thread_id):
            if "RunFirstTask" in name or name.startswith("ZQTaskPoolCore::"):
                inside, core = True, frame_core or core
            elif inside:
                return name, core
        return None, core


class ListPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return "%s of %s" % (self.value.type.strip_typedefs().unqualified().name, count(int(self.value["m_nCount"]), "element"))

    def children(self):
        return (("[%d]" % index, element) for index, element in enumerate(elements(self.value)))

    def display_hint(self):
        return "array"


class MutexPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        if self.value["m_nLocked"] == 0:
            return "free"
        return "held by LWP %d" % int(self.value["m_hOS"]["__data"]["__owner"])


class MutexRWPrinter:
    READERS_SHIFT = 3  # the bits below say whose turn it is

    def __init__(self, value):
        self.value = value

    def to_string(self):
        lock = self.value["m_hOS"]["__data"]
        if lock["__cur_writer"] != 0:
            return "held for writing by LWP %d" % int(lock["__cur_writer"])
        readers = int(lock["__readers"]) >> self.READERS_SHIFT
        return "held by " + count(readers, "reader") if readers else "free"


class DateTimePrinter:
    DAYS = ("Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat")

    def __init__(self, value):
        self.value = value

    def to_string(self):
        names = ("Year", "Month", "Day", "Hour", "Minute", "Second", "MilliSecond")
        fields = tuple(int(self.value["m_n" + name]) for name in names)
        day = int(self.value["m_nWeekDay"])
        if fields[0] == -1:
            return "unset"
        return "%04d-%02d-%02d %02d:%02d:%02d.%03d %s" % (fields + (self.DAYS[day] if 0 <= day < 7 else "?",))


def library_object(name):
    try:
        value = gdb.parse_and_eval(name)
        value.type.fields()
        return value
    except (gdb.error, TypeError):
        raise gdb.GdbError("zq: no libZQFoundation here, or one without debug information")


def show_shared_pool(pool, threads):
    idle = {int(worker) for worker in elements(pool["m_listIdle"])}
    workers = [w for w in elements(pool["m_listThreads"]) if int(w["m_nStatus"]) & (STARTED | STOP) == STARTED]
    print("shared pool %#x: %s alive, at least %d kept, at most %d; %d idle, %d running; %s%s" % (
        int(pool.address), count(int(pool["m_nCapacity"]), "worker"), pool["m_nMinThreads"], pool["m_nMaxThreads"],
        len(idle), len(workers) - len(idle), count(int(pool["m_nRefs"]), "reference"),
        "" if pool["m_bRunning"] else "; stopped"))
    cores = []
    for worker in workers:
        task, core = (None, None) if int(worker) in idle else threads.work(worker["m_lThreadID"])
        cores.append(core)
        state = "idle" if int(worker) in idle else "running" + (" " + task if task else "")
        print("  %s: %s" % (threads.text(worker["m_lThreadID"]), state))
    print("  queue: %s" % count(int(pool["m_listTasks"]["m_nCount"]), "task"))
    for task in elements(pool["m_listTasks"]):
        cores.append(int(task["pCore"]))
        print("    %s(%#x)" % (code_name(task["pfnTask"]), int(task["pArg"])))
    for core in sorted({core for core in cores if core}):
        show_task_pool(gdb.Value(core).cast(gdb.lookup_type("ZQTaskPoolCore").pointer()), threads)


def show_task_pool(core, threads):
    status = int(core["m_nStatus"])
    state = "closed" if status & CLOSED else "paused" if status & PAUSED else "ready" if core["m_pPool"] != 0 else "created"
    slots = list(elements(core["m_listBusySlots"]))
    running = [slot["lThreadID"] for slot in slots if slot["lThreadID"] != NOBODY]
    print("task pool, core %#x: %s%s, %s; %d of %d running, %s queued in the shared pool, %s waiting%s" % (
        int(core), state, ", a pause in progress" if core["m_bPausing"] else "",
        code_name(core["m_fnTask"]) if core["m_fnTask"] != 0 else "no function", len(running), core["m_iMaxThread"],
        len(slots) - len(running), count(int(core["m_listWait"]["m_nCount"]), "task"),
        " of %d" % core["m_lMaxWaitTasks"] if core["m_lMaxWaitTasks"] > 0 else ""))
    for thread_id in running:
        print("  on %s" % threads.text(thread_id))


class ZqCommand(gdb.Command):
    """Looks at libZQFoundation: zq pools, zq timers."""

    def __init__(self):
        super().__init__("zq", gdb.COMMAND_DATA, gdb.COMPLETE_NONE, True)

    def invoke(self, argument, from_tty):
        gdb.execute("help zq")


class PoolsCommand(gdb.Command):
    """zq pools [EXPRESSION...]: the shared pool of the process, or the pools that the expressions name.

Task pools are found by the tasks that they have running or queued; one that has nothing to do is shown by its name."""

    def __init__(self):
        super().__init__("zq pools", gdb.COMMAND_DATA, gdb.COMPLETE_EXPRESSION)

    def invoke(self, argument, from_tty):
        threads = Threads()
        for expression in gdb.string_to_argv(argument):
            self.show(gdb.parse_and_eval(expression), threads)
        if not argument:
            pool = library_object("_s_csGlobal")["m_pObj"]
            if pool == 0:
                print("no shared pool: it was given up and not asked for since")
            else:
                show_shared_pool(pool.dereference(), threads)

    @staticmethod
    def show(value, threads):
        if value.type.strip_typedefs().code in (gdb.TYPE_CODE_PTR, gdb.TYPE_CODE_REF):
            value = value.referenced_value()
        name = value.type.strip_typedefs().unqualified().name
        if name == "ZQTaskPool":
            show_task_pool(value["m_pCore"], threads)
        elif name == "ZQRefThreadPool":
            show_shared_pool(value, threads)
        else:
            raise gdb.GdbError("zq: %s is neither a ZQTaskPool nor a ZQRefThreadPool" % name)


class TimersCommand(gdb.Command):
    """zq timers: the timer module of the process and each started timer: interval, next due, state."""

    def __init__(self):
        super().__init__("zq timers", gdb.COMMAND_DATA, gdb.COMPLETE_NONE)

    def invoke(self, argument, from_tty):
        module = library_object("s_csTimerGlobal")
        if module["m_pPool"] == 0:
            print("no timer module: nobody has taken it up")
            return
        threads = Threads()
        pool = module["m_pPool"].dereference()
        timers = started_timers(module["m_setTimers"])
        print("timer module: %s, %s alive, at most %d, %s; %s due and waiting for a worker" % (
            count(int(module["m_nInit"]), "user"), count(int(pool["m_nCapacity"]), "worker"), pool["m_nMaxThreads"],
            count(len(timers), "started timer"), sum(1 for _ in nodes(module["m_lstDue"]))))
        print("  service: %s" % threads.text(module["m_thread"]["m_lThreadID"]))
        due = {int(timer) for timer in elements(module["m_lstDue"])}
        for timer in timers:
            self.show(timer, due, threads)

    @classmethod
    def show(cls, timer, due, threads):
        shared = timer["m_pShared"]
        if int(timer) in due:
            state = "due, waits for a worker"
        elif shared["lThreadID"] != 0:
            state = "running on " + threads.text(shared["lThreadID"])
        else:
            state = "about to run" if shared["bRunning"] else "waits"
        print("  timer %d at %#x: every %d ms, next due %s, %s, %s" % (
            timer["m_lTimerID"], int(timer), timer["m_nInterval"], cls.next_due(timer), code_name(timer["m_pCallback"]), state))

    @staticmethod
    def next_due(timer):
        tick = int(timer["m_meter"]["m_nStartTick"]) + int(timer["m_nInterval"])
        if gdb.selected_inferior().connection.type != "native":
            return "at tick %d" % tick
        return "at tick %d, in %d ms" % (tick, tick - time.monotonic_ns() // 1000000)


def register():
    printers = gdb.printing.RegexpCollectionPrettyPrinter("zqfoundation")
    printers.add_printer("ZxxList", "^Zxx(List|ListInner|ListBase)<.*>$", ListPrinter)
    printers.add_printer("ZQMutex", "^ZQMutex$", MutexPrinter)
    printers.add_printer("ZQMutexRW", "^ZQMutexRW$", MutexRWPrinter)
    printers.add_printer("ZQDateTime", "^ZQDateTime$", DateTimePrinter)
    gdb.printing.register_pretty_printer(gdb.current_objfile(), printers, replace=True)
    ZqCommand()
    PoolsCommand()
    TimersCommand()


register()
