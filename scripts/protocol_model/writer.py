"""The writer of the hardware: image, report, rebuild."""
from store import TABLES, UNITS, Process, demand, refuses


class Writer(Process):
    side = "writer"

    def open(self):
        store = self.store
        yield from self.claim()
        reported = yield from self.mount("reported")
        if reported["boot"] != store.boot:
            reported["rows"].clear()
            yield
            reported["boot"] = store.boot
            yield
        for table in TABLES:
            image = yield from self.mount("image", table)
            if image["boot"] != store.boot:
                if store.rule("boot-image"):
                    yield from self.give_up(image)
                image["boot"] = store.boot
                yield
            yield from self.look_at_failures(table)
            yield from self.look_at_image(table)
            store.strange.discard(table)

    def look_at_failures(self, table):
        image, failures = self.store.get("image", table), (yield from self.mount("failures", table))
        more = failures["changes"] - image["noted"]
        if failures["wiped"] or more not in (0, 1) and self.store.rule("old-failures"):
            yield from self.give_up(image)
        if more < 0:
            failures["changes"] = image["noted"]
            yield

    def fails(self, table, place, version):
        """Makes a row, or drops it, for version 0."""
        image, failures = self.store.get("image", table), self.store.get("failures", table)
        if version == 0 and place not in failures["rows"]:
            return
        if version:
            failures["rows"][place] = version
        else:
            del failures["rows"][place]
        yield
        failures["changes"] += 1
        yield
        image["noted"] = failures["changes"]
        yield

    def look_at_image(self, table):
        store, image, log = self.store, self.store.get("image", table), self.store.get("log", table)
        if log and image["follows"] == 0 and image["applied"] == 0 and not image["wiped"]:
            image["follows"] = log["incarnation"]
            yield
        below = image["applied"] < store.row("reported", table) and store.rule("old-image-reported")
        strange = log and image["follows"] != log["incarnation"] and store.rule("image-follows")
        if below or strange or log and image["applied"] < log["cleaned"] and store.rule("old-image-cleaned"):
            yield from self.give_up(image)

    def give_up(self, image):
        if not image["wiped"]:
            demand(self.store.touched, "P5 an image was rebuilt")
            image["wiped"] = True
            yield

    def complain(self):
        """The agent polls the number, and looks everything through when it has changed."""
        self.store.get("reported")["complaints"] += 1
        yield

    def version_of(self, table):
        """What an image is rebuilt at. Below what is cleaned from the log it would count as older at once, and be rebuilt
        again until the agent announces: work for nothing, but no broken promise, so this is none of the rules."""
        log = self.store.get("log", table)
        cleaned = log["cleaned"] if log else 0
        return max(self.store.row("announced", table), self.store.row("reported", table), cleaned)

    def rebuild(self, table):
        store, version, whole = self.store, self.version_of(table), True
        image = store.get("image", table)
        log = store.get("log", table)
        image["applied"], image["begun"] = 0, max(version, image["begun"])
        yield
        image["records"].clear()
        yield
        asked, failures = set(), store.get("failures", table)
        for unit in UNITS:
            config = store.get("config", table, unit)
            for key in list(config["records"]) if config else []:
                if key in config["bad"]:
                    whole = False
                    continue
                value, at, marked = config["records"].get(key, (0, 0, True))
                if not marked and at <= version and refuses(value, at):
                    asked.add((unit, key))
                    yield from self.fails(table, (unit, key), at)
                elif not marked and at <= version:
                    image["records"][unit, key] = (value, at)
                    yield
            if not whole and store.rule("whole-rebuild"):
                yield from self.complain()
                return False
        for place in [one for one in failures["rows"] if one not in asked]:
            yield from self.fails(table, place, 0)
        failures["wiped"] = False
        yield
        image["noted"] = failures["changes"]
        yield
        image["applied"], image["follows"] = version, log["incarnation"] if log else 0
        yield
        image["wiped"] = False
        store.cold.discard(table)
        yield
        return True

    def apply(self, table, version):
        image, record = self.store.get("image", table), self.store.get("log", table)["records"][version]
        known = self.store.content.setdefault((table, version), record)
        demand(known == record, f"P2 version {version} of {table} stood for {known} and for {record}")
        unit, kind, key, value = record
        if not self.store.rule("failure-first"):
            image["applied"] = version
            yield
        if kind == "write" and refuses(value, version):
            yield from self.fails(table, (unit, key), version)
        elif kind == "write":
            image["records"][unit, key] = (value, version)
            yield
            yield from self.fails(table, (unit, key), 0)
        else:
            rows = self.store.get("failures", table)["rows"]
            for place in [one for one in image["records"] if one[0] == unit and (kind != "remove" or one[1] == key)]:
                del image["records"][place]
                yield
            for place in [one for one in rows if one[0] == unit and (kind != "remove" or one[1] == key)]:
                yield from self.fails(table, place, 0)
        image["applied"] = version
        yield

    def complete(self, table):
        image = self.store.get("image", table)
        return image is not None and not image["wiped"]

    def needs_met(self, table, version):
        needs = (self.store.get("needed") or {"rows": {}})["rows"].get((table, version), {})
        return all(self.complete(o) and self.store.get("image", o)["applied"] >= n for o, n in needs.items())

    def advance(self, table):
        """Whether anything moved."""
        store, image, log = self.store, self.store.get("image", table), self.store.get("log", table)
        announced = store.row("announced", table, None)
        if announced is None or log is None:
            return False
        yield from self.look_at_image(table)
        if not self.complete(table):
            return (yield from self.rebuild(table))
        if image["applied"] >= announced:
            return False
        if store.rule("begun") and image["begun"] < announced:
            image["begun"] = announced
            yield
        for version in range(image["applied"] + 1, announced + 1):
            log = store.get("log", table)
            if version not in log["records"]:
                continue
            if version in log["bad"]:
                yield from self.give_up(image)
                yield from self.complain()
                return True
            if not self.needs_met(table, version):
                return False
            yield from self.apply(table, version)
        image["applied"] = announced
        yield
        return True

    def run(self):
        yield from self.open()
        while True:
            moved = False
            for table in TABLES:
                moved |= yield from self.advance(table)
                applied, rows = self.store.get("image", table)["applied"], self.store.get("reported")["rows"]
                if self.complete(table) and rows.get(table, 0) < applied:
                    rows[table] = applied
                    moved = True
                    yield
            if not moved:
                yield "idle"
