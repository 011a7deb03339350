"""The shared store of the model: its files, the rules that may be left out, and what agent and writer do alike."""
import itertools

TABLES, UNITS, KEYS = ("A", "B"), (1, 2), ("x", "y")

RULES = {
    "intent": "a publication is noted before it becomes visible, and settled by the next life",
    "agreement": "a configuration names the log that it agrees with; one that names another is published anew",
    "repair-first": "no operation of a unit commits before the unit is published anew, if that waits for room",
    "count-on": "a log made anew counts on above all that was announced, reported, applied or needed",
    "old-log-announced": "a log below its announced version came back old: it is lost",
    "old-log-applied": "a log below what the image has begun to apply came back old",
    "old-log-reported": "a log below what was reported came back old",
    "old-log-needed": "a log below what records of other tables need came back old",
    "old-log-carried": "a log below what a configuration carries came back old",
    "old-log-noted": "a log below the clean-up that a configuration has noted came back old",
    "needs-dropped": "needed versions without their record are dropped when the log is opened",
    "begun": "the image notes how far it may have applied before it applies",
    "image-units": "the units that the image knows exist, also when the manifest has forgotten them or the log is new",
    "old-config-cleaned": "each clean-up is noted in all configurations; one that missed it came back old",
    "old-config-record": "a configuration without the last record that the log has of it came back old",
    "old-image-reported": "an image below the report came back old: it is rebuilt",
    "old-image-cleaned": "an image below what is cleaned from the log is new or came back old",
    "image-follows": "an image names the log that it has applied; one that followed another is rebuilt",
    "whole-rebuild": "an image that was rebuilt over damage is not complete, and the agent is told",
    "log-units": "the units that the log knows exist, also when the manifest has forgotten them",
    "late-report": "what was cleaned from the log leaves a unit at the next report, if the report was lost when it was mounted",
    "mend": "an agent that is told of damage drops what is unreadable and publishes the unit anew",
    "failure-first": "what the hardware refused stands in the failures before its version counts as applied",
    "old-failures": "the image notes how many changes the failures have seen; where the numbers do not fit, the table is rebuilt",
    "boot-log": "a log of another boot is lost",
    "boot-image": "an image of another boot is rebuilt",
}


def refuses(value, version):
    """What the hardware does not take, each time that it is asked."""
    return value == 2 and version % 3 != 0


class Broken(Exception):
    pass


def demand(holds, text):
    if not holds:
        raise Broken(text)


def clone(value):
    """A copy of a file: dictionaries and sets of values that never change."""
    if isinstance(value, dict):
        return {key: clone(one) for key, one in value.items()}
    return set(value) if isinstance(value, set) else value


NEW = {
    "log": lambda: {"scratch": 0, "cleaned": 0, "intent": None, "records": {}, "bad": set()},  # version -> (unit, kind, key, value)
    "config": lambda: {"agrees": 0, "cleaned": 0, "records": {}, "bad": set()},   # key -> (value, version, marked)
    "announced": lambda: {"rows": {}},
    "needed": lambda: {"rows": {}},                                               # (table, version) -> {table: version}
    "image": lambda: {"follows": 0, "applied": 0, "begun": 0, "noted": 0, "records": {}},  # (unit, key) -> (value, version)
    "failures": lambda: {"changes": 0, "rows": {}},                              # (unit, key) -> version
    "reported": lambda: {"rows": {}, "complaints": 0},
}
AGENT = [("log", t) for t in TABLES] + [("config", t, u) for t in TABLES for u in UNITS] + [("announced",), ("needed",)]
WRITER = [(kind, t) for t in TABLES for kind in ("image", "failures")] + [("reported",)]
MANIFEST = {"agent": ("manifest", "agent"), "writer": ("manifest", "writer")}
SIDE = {"agent": AGENT, "writer": WRITER}


class Store:
    def __init__(self, without):
        self.files, self.boot, self.incarnations, self.without = {}, 1, itertools.count(1), without
        self.cold = set()                      # tables whose hardware has lost everything since the image was built
        self.strange = set()                   # tables whose image was lost or put back, and no writer has looked at it yet
        self.content = {}                      # (table, version) -> what the writer took, for P2
        self.touched = False                   # by the adversary, for P5

    def rule(self, name):
        return name not in self.without

    def get(self, *name):
        return self.files.get(name)

    def row(self, kind, key, default=0):
        file = self.files.get((kind,))
        return default if file is None else file["rows"].get(key, default)


class Process:
    """What agent and writer do alike: claim their side, and mount collections under the manifest."""
    side = None

    def __init__(self, store):
        self.store, self.new = store, set()

    def claim(self):
        files, name = self.store.files, MANIFEST[self.side]
        if name not in files:
            there = {one for one in SIDE[self.side] if one in files}
            files[name] = {"paths": there, "wiped": bool(there)}
            yield

    def make(self, name, lost):
        store = self.store
        store.files[name] = dict(NEW[name[0]](), boot=store.boot, incarnation=next(store.incarnations), wiped=lost)
        if name[0] == "image":
            store.cold.discard(name[1])        # nothing stands in either

    def mount(self, *name):
        manifest = self.store.files[MANIFEST[self.side]]
        if name not in self.store.files:
            lost = manifest["wiped"] or name in manifest["paths"]
            self.make(name, lost)
            if not lost:
                self.new.add(name)
            yield
        if name not in manifest["paths"]:
            manifest["paths"].add(name)
            yield
        return self.store.files[name]
