"""The agent's entry logs: publishing, opening after whatever happened, clean-up."""
from store import MANIFEST, NEW, TABLES, UNITS, Process, demand, refuses


class AgentLog(Process):
    side = "agent"

    def __init__(self, store, wish, served, choice):
        super().__init__(store)
        self.wish, self.served, self.choice = wish, served, choice
        self.version, self.cleaned, self.seen = {}, dict.fromkeys(TABLES, 0), dict.fromkeys(TABLES, 0)
        self.handles, self.mounted, self.written = [], set(), {}
        self.damaged = False                   # this life has met damage itself
        self.complaints = (store.get("reported") or NEW["reported"]())["complaints"]
        self.repairs = set()                   # units that are to be published anew and find no room
        self.late = set()                      # units that were mounted while less was reported than is cleaned from the log

    # --- publishing ---

    def announce(self, table, version, needs):
        announced, needed = self.store.get("announced")["rows"], self.store.get("needed")["rows"]
        low = {o: min(n, announced[o]) for o, n in needs.items() if o != table and o in announced}
        if low:
            needed[table, version] = low
            yield
        announced[table] = max(announced.get(table, 0), version)
        yield

    def publish(self, table, unit, kind, key=None, value=None, needs={}):
        log, records = self.store.get("log", table), self.store.get("config", table, unit)["records"]
        self.version[table] += 1
        version = self.version[table]
        yield
        if self.store.rule("intent"):
            log["intent"] = (kind, version, unit, key, needs)
            yield
        if kind == "write":
            records[key] = (value, version, False)
            self.store.get("config", table, unit)["bad"].discard(key)
            yield
        if kind == "remove":
            records[key] = (records[key][0], version, True)
            yield
        if kind == "clear":
            yield from self.mark_live(records, version)
        log["records"][version] = (unit, kind, key, value)
        yield
        log["scratch"] = version
        yield
        yield from self.announce(table, version, needs)
        log["intent"] = None
        yield
        return version

    def mark_live(self, records, version):
        for key in list(records):
            if not records[key][2] and records[key][1] < version:
                records[key] = (records[key][0], version, True)
                yield

    # --- opening a log ---

    def evidence(self, table):
        """How far others say that the log of the table went."""
        image = self.store.get("image", table)
        needed = (self.store.get("needed") or {"rows": {}})["rows"]
        return {
            "announced": self.store.row("announced", table),
            "reported": self.store.row("reported", table),
            "applied": max(image["applied"], image["begun"]) if image else 0,
            "needed": max((n for needs in needed.values() for o, n in needs.items() if o == table), default=0),
            "carried": max((version for config in self.configs(table) for _, version, _ in config["records"].values()), default=0),
            "noted": max((config["cleaned"] for config in self.configs(table)), default=0),
        }

    def carried_beside(self, table, intent):
        """The highest version in the configurations beside what the publication under way has written there."""
        return max((record[1] for name, config in self.store.files.items() if name[:2] == ("config", table)
                    for key, record in config["records"].items() if not self.under_way(intent, name[2], key, record)), default=0)

    @staticmethod
    def under_way(intent, unit, key, record):
        return intent and (record[1], unit) == intent[1:3] and (record[2] if intent[0] == "clear" else key == intent[3])

    def open_log(self, table):
        store, name = self.store, ("log", table)
        log = yield from self.mount(*name)
        evidence = self.evidence(table)
        beside = {**evidence, "carried": self.carried_beside(table, log["intent"])}
        old = any(beside[e] > log["scratch"] and store.rule("old-log-" + e) for e in beside)
        if name not in self.new and not log["wiped"] and (old or log["boot"] != store.boot and store.rule("boot-log")):
            self.make(name, True)
            yield
        log = store.files[name]
        yield from self.drop_bad_records(log)
        lost = log["wiped"]
        if lost:
            for config in self.configs(table):
                config["agrees"] = 0
                yield
        if (store.files[MANIFEST["agent"]]["wiped"] or log["scratch"] == 0) and store.rule("image-units"):
            for unit in sorted({unit for unit, _ in (store.get("image", table) or {"records": {}})["records"]}):
                yield from self.mount("config", table, unit)
                self.new.discard(("config", table, unit))
        log["wiped"] = False
        yield
        yield from self.settle(table)
        if log["scratch"] == 0 and (lost or any(evidence.values())) and store.rule("count-on"):
            log["cleaned"] = max(evidence.values())
            yield
            log["scratch"] = max(evidence.values()) + 1
            yield
        self.version[table] = log["scratch"]
        yield from self.drop_needs(table)
        yield from self.announce(table, log["scratch"], {})
        yield from self.look_at_configs(table)
        yield from self.cleanup(table, self.reported(table))

    def settle(self, table):
        log = self.store.get("log", table)
        if not log["intent"]:
            return
        kind, version, unit, key, needs = log["intent"]
        records = (yield from self.mount("config", table, unit))["records"]
        carried = any(self.under_way(log["intent"], unit, k, record) for k, record in records.items())
        if carried or version in log["records"]:
            if kind == "clear":
                yield from self.mark_live(records, version)
            if version not in log["records"]:
                log["records"][version] = (unit, kind, key, records[key][0] if kind == "write" else None)
                yield
            log["scratch"] = version
            yield
            yield from self.announce(table, version, needs)
        log["intent"] = None
        yield

    def drop_needs(self, table):
        needed, records = self.store.get("needed")["rows"], self.store.get("log", table)["records"]
        for t, version in list(needed):
            if t == table and version not in records and self.store.rule("needs-dropped"):
                del needed[t, version]
                yield

    def configs(self, table):
        return [file for name, file in self.store.files.items() if name[:2] == ("config", table)]

    def look_at_configs(self, table):
        """Before anything is cleaned: which of them are older than the log, and which are of another boot."""
        store, log = self.store, self.store.get("log", table)
        last = {}
        for version in sorted(log["records"]):
            last[log["records"][version][0]] = version
        for unit in UNITS:
            if unit in last and store.rule("log-units"):
                yield from self.mount("config", table, unit)
                self.new.discard(("config", table, unit))
            if not self.exists("config", table, unit):
                continue
            config = yield from self.mount("config", table, unit)
            agrees = config["agrees"] == log["incarnation"]
            version = last.get(unit, 0)
            old = config["cleaned"] < log["cleaned"] and store.rule("old-config-cleaned")
            if version > config["cleaned"] and not self.carries(config, version, log["records"][version]):
                old |= store.rule("old-config-record")
            if agrees and ("config", table, unit) not in self.new and old:
                config["agrees"] = 0
                yield
            if config["boot"] != store.boot:
                # No rule of its own: the log that it names is of another boot too, and that one is lost.
                config["agrees"] = 0
                yield
                config["boot"] = store.boot
                yield

    @staticmethod
    def carries(config, version, record):
        _, kind, key, _ = record
        if kind in ("write", "remove"):
            return config["records"].get(key, (0, 0, 0))[1:] == (version, kind == "remove")
        return not any(v < version and not marked for _, v, marked in config["records"].values())

    def exists(self, *name):
        return name in self.store.files or name in self.store.files[MANIFEST["agent"]]["paths"]

    # --- reports and clean-up ---

    def reported(self, table):
        file = self.store.get("reported")
        # No rule of its own for one of another boot: its log is lost, and the next one counts on above it.
        if file is None or file["boot"] != self.store.boot:
            return self.seen[table]
        self.seen[table] = max(self.seen[table], file["rows"].get(table, 0))
        return self.seen[table]

    def cleanup(self, table, taken):
        log, taken = self.store.get("log", table), min(taken, self.version[table])
        if taken > log["cleaned"]:
            for config in self.configs(table):
                if config["agrees"] == log["incarnation"] and config["cleaned"] < taken:
                    config["cleaned"] = taken
                    yield
            log["cleaned"] = taken
            yield
        for version in sorted(log["records"]):
            if version > taken:
                continue
            if version in log["bad"]:
                self.damaged = True
                continue
            self.store.get("needed")["rows"].pop((table, version), None)
            yield
            unit, kind, key, _ = log["records"].pop(version)
            yield
            if (table, unit) not in self.mounted or kind not in ("remove", "clear"):
                continue
            records = self.store.get("config", table, unit)["records"]
            for k in list(records):
                if records[k][1] == version and (kind == "clear" or k == key):
                    demand(records[k][2], "P4 a live record was cleaned away")
                    del records[k]
                    yield
        late = [u for t, u in self.late if t == table and taken >= log["cleaned"] and self.store.rule("late-report")]
        for unit in late:
            self.late.discard((table, unit))
            yield from self.drop_taken(table, unit)
        self.cleaned[table] = max(self.cleaned[table], taken)
        for handle in [one for one in self.handles if one[0] == table and one[2] <= taken]:
            self.handles.remove(handle)
            self.done(*handle)

    def done(self, table, unit, version, key, value):
        demand(table not in self.store.cold, "P3 done, and the hardware is cold")
        image, record = self.store.get("image", table), self.store.get("config", table, unit)["records"].get(key)
        if table in self.store.strange or image is None or image["wiped"] or record is None or record[1:] != (version, False):
            return
        failures = self.store.get("failures", table)
        if refuses(value, version):
            rows = failures["rows"] if failures and not failures["wiped"] else {(unit, key): version}
            demand(rows.get((unit, key)) == version, f"P3 version {version} was refused, the failures have {rows.get((unit, key))}")
            return
        found = image["records"].get((unit, key))
        demand(found == (value, version), f"P3 done with {value} at version {version}, the image has {found}")

    def poll(self):
        for table in TABLES:
            taken = self.reported(table)
            if min(taken, self.version[table]) > self.cleaned[table]:
                yield from self.cleanup(table, taken)
        complaints = (self.store.get("reported") or NEW["reported"]())["complaints"]
        if (self.damaged or complaints != self.complaints) and self.store.rule("mend"):
            self.damaged, self.complaints = False, complaints
            yield from self.mend()
