"""The adversary: what may happen to the files between lives."""
from store import AGENT, MANIFEST, SIDE, TABLES, WRITER, clone


class Adversary:
    def __init__(self, store, choice, strikes):
        self.store, self.choice, self.strikes, self.copies = store, choice, strikes, []

    def copy(self):
        self.copies.append({name: clone(file) for name, file in self.store.files.items()})

    def put_back(self, names, manifest):
        at = self.choice.randrange(len(self.copies))
        copy = self.copies[at]
        for name in list(names) + ([manifest] if manifest else []):
            self.store.files.pop(name, None)
            if name in copy:
                self.store.files[name] = clone(copy[name])
        if any(name[0] == "log" for name in names):
            del self.copies[at + 1:]           # what was copied of a future that is abandoned now does not come back

    def lose(self, names, manifest):
        for name in list(names) + ([manifest] if manifest else []):
            self.store.files.pop(name, None)

    def damage(self):
        """One record of a log or of a configuration is not readable any more."""
        name = self.choice.choice([one for one in AGENT if one[0] in ("log", "config")])
        file = self.store.files.get(name)
        if not file or not file["records"]:
            return
        key = self.choice.choice(sorted(file["records"]))
        file["bad"].add(key)

    def boot(self):
        """The hardware is cold. Of a file that outlives a kernel each part is as old as it was written out last."""
        store, choice = self.store, self.choice
        store.boot += 1
        store.content.clear()                  # nothing of the boot before is believed, so its versions may come again
        store.cold.update(TABLES)
        for name in [one for one in AGENT + WRITER if one in store.files and choice.random() < .4]:
            older = choice.choice(self.copies).get(name)
            if older is None or older["incarnation"] != store.files[name]["incarnation"]:
                continue
            for part in [one for one in older if choice.random() < .5]:
                store.files[name][part] = clone(older[part])

    def strike(self, sides):
        """One strike. `sides`: whose processes are dead."""
        store, choice = self.store, self.choice
        store.touched = True
        side = choice.choice(sides)
        manifest = choice.choice([None, MANIFEST[side]])
        table = choice.choice(TABLES)
        log = [("log", table), ("announced",)]
        of_table = [name for name in AGENT + WRITER if table in name] + [("announced",), ("reported",)]
        one, some = choice.choice(SIDE[side]), [name for name in SIDE[side] if choice.random() < .5]
        moves = [lambda: self.lose([one], None), lambda: self.lose(SIDE[side], manifest), lambda: self.lose([], MANIFEST[side]),
                 lambda: self.put_back([one], None), lambda: self.put_back(some, None), lambda: self.put_back(SIDE[side], None),
                 lambda: self.put_back(SIDE[side], MANIFEST[side]), self.damage]
        if len(sides) == 2:
            moves += [self.boot, lambda: self.put_back(log, None), lambda: self.put_back(of_table, None)]
        else:
            moves += [self.damage, lambda: (self.damage(), self.lose([one], None))]
        choice.choice(moves)()
        if "writer" in sides:
            store.strange.update(TABLES)
        for table in TABLES:                   # what the writer knows of no more may be issued again
            image = store.get("image", table)
            known = max(image["applied"] if image else 0, image["begun"] if image else 0, store.row("reported", table))
            store.content = {place: what for place, what in store.content.items() if place[0] != table or place[1] <= known}
