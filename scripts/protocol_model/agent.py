"""The agent: its units, what it does about damage, and a life from start to rest."""
from agent_log import AgentLog
from store import KEYS, TABLES, UNITS, demand


class Agent(AgentLog):

    def mount_unit(self, table, unit, reset):
        name, log = ("config", table, unit), self.store.get("log", table)
        config = yield from self.mount(*name)
        yield from self.drop_damaged(config)
        if name in self.new:
            config["cleaned"] = self.version[table]
            yield
            config["agrees"] = log["incarnation"]
            yield
        if self.choice.random() < .2:
            self.repairs.add((table, unit))
        else:
            yield from self.repair(table, unit)
        yield from self.drop_taken(table, unit)
        if self.reported(table) < log["cleaned"]:
            self.late.add((table, unit))
        self.mounted.add((table, unit))
        self.written[table, unit] = None if reset else set()
        if reset and config["records"]:
            yield from self.publish(table, unit, "clear")

    def drop_damaged(self, config):
        for key in list(config["bad"]):
            config["agrees"] = 0
            yield
            config["bad"].discard(key)
            config["records"].pop(key, None)
            yield

    def repair(self, table, unit):
        config, log = self.store.get("config", table, unit), self.store.get("log", table)
        if config["agrees"] == log["incarnation"] or not self.store.rule("agreement"):
            return
        demand(self.store.touched or not config["records"], "P5 a unit was published anew")
        yield from self.publish(table, unit, "empty")
        for key in list(config["records"]):
            if config["records"][key][2]:
                del config["records"][key]
                yield
            else:
                yield from self.publish(table, unit, "write", key, config["records"][key][0])
        config["cleaned"] = self.version[table]
        yield
        config["agrees"] = log["incarnation"]
        yield

    def drop_bad_records(self, log):
        if log["bad"]:
            log["wiped"] = True
            yield
        for version in list(log["bad"]):
            log["bad"].discard(version)
            log["records"].pop(version, None)
            yield

    def mend(self):
        """Looks everything through, as the next life would. The clients of a unit that lost entries write them again."""
        lost = []
        for table in TABLES:
            log = self.store.get("log", table)
            yield from self.drop_bad_records(log)
            if log["wiped"]:
                for config in self.configs(table):
                    config["agrees"] = 0
                    yield
                log["wiped"] = False
                yield
            for unit in [u for u in UNITS if ("config", table, u) in self.store.files]:
                config = self.store.get("config", table, unit)
                if config["bad"]:
                    lost.append((table, unit))
                yield from self.drop_damaged(config)
                if (table, unit) in self.mounted:
                    yield from self.repair(table, unit)
        for table, unit in lost:
            for key in KEYS:
                if (table, unit) in self.mounted and (table, unit, key) in self.wish:
                    yield from self.write(table, unit, key, self.wish[table, unit, key], {})

    def drop_taken(self, table, unit):
        config, taken = self.store.get("config", table, unit), min(self.reported(table), self.version[table])
        if config["cleaned"] < taken:
            config["cleaned"] = taken
            yield
        for key in list(config["records"]):
            if config["records"][key][2] and config["records"][key][1] <= taken:
                del config["records"][key]
                yield

    def repairs_first(self, table, unit):
        """An operation waits until its unit has found the room to be published anew."""
        if (table, unit) in self.repairs and self.store.rule("repair-first"):
            self.repairs.discard((table, unit))
            yield from self.repair(table, unit)

    def read(self, table, unit, key):
        config = self.store.get("config", table, unit)
        if key not in config["bad"]:
            return config["records"].get(key)
        self.damaged = True
        return None

    def write(self, table, unit, key, value, needs):
        yield from self.repairs_first(table, unit)
        written = self.written.get((table, unit))
        if written is not None:
            written.add(key)
            record = self.read(table, unit, key)
            if record is not None and not record[2] and record[0] == value:
                handle = (table, unit, record[1], key, value)
                self.done(*handle) if record[1] <= self.cleaned[table] else self.handles.append(handle)
                return
        version = yield from self.publish(table, unit, "write", key, value, needs)
        self.handles.append((table, unit, version, key, value))

    def remove(self, table, unit, key):
        yield from self.repairs_first(table, unit)
        if self.read(table, unit, key) is not None:
            yield from self.publish(table, unit, "remove", key)

    # --- a life ---

    def run(self):
        yield from self.claim()
        yield from self.mount("announced")
        yield from self.mount("needed")
        for table in TABLES:
            yield from self.open_log(table)
        places = [(t, u) for t in TABLES for u in UNITS]
        for table, unit in sorted(places, key=lambda place: place[1] not in self.served):
            if unit in self.served or self.exists("config", table, unit):
                yield from self.mount_unit(table, unit, unit not in self.served)
        operations = [(t, u, k) for t in TABLES for u in sorted(self.served) for k in KEYS]
        self.choice.shuffle(operations)
        for table, unit, key in operations:
            if (table, unit, key) in self.wish:
                needs = {"A": self.version["A"]} if table == "B" and self.choice.random() < .5 else {}
                yield from self.write(table, unit, key, self.wish[table, unit, key], needs)
            if self.choice.random() < .3:
                yield from self.poll()
        yield from self.sweep()
        if self.choice.random() < .4:
            yield from self.change(operations)
        while True:
            yield from self.poll()
            for table, unit in sorted(self.repairs):
                self.repairs.discard((table, unit))
                yield from self.repair(table, unit)
            yield "idle"

    def sweep(self):
        for (table, unit), written in list(self.written.items()):
            for key in list(self.store.get("config", table, unit)["records"]):
                record = self.read(table, unit, key)
                if written is not None and record is not None and not record[2] and key not in written:
                    yield from self.remove(table, unit, key)
            self.written[table, unit] = None

    def change(self, operations):
        for table, unit, key in operations:
            share = self.choice.random()
            if share < .3:
                self.wish[table, unit, key] = value = self.choice.randrange(3)
                yield from self.write(table, unit, key, value, {})
            elif share < .45:
                self.wish.pop((table, unit, key), None)
                yield from self.remove(table, unit, key)
        if self.choice.random() < .3:
            table, unit = self.choice.choice(TABLES), self.choice.choice(sorted(self.served))
            for key in KEYS:
                self.wish.pop((table, unit, key), None)
            if self.store.get("config", table, unit)["records"]:
                yield from self.publish(table, unit, "clear")
