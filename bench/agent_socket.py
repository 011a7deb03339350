"""A client of an agent's socket, for the benchmarks that run against a whole agent."""
import json
import os
import socket
import sys
import time


def give_up(why):
    raise SystemExit(f"bench/{os.path.basename(sys.argv[0])}: {why}")


class Client:
    def __init__(self, path):
        for _ in range(500):
            self.socket = socket.socket(socket.AF_UNIX)
            try:
                self.socket.connect(path)
                break
            except OSError:
                self.socket.close()
                time.sleep(0.02)
        self.lines = self.socket.makefile("rb", buffering=1 << 16)

    def send(self, operation):
        self.socket.sendall(json.dumps(operation).encode() + b"\n")

    def until(self, wanted):
        for line in self.lines:
            answer = json.loads(line)
            if wanted(answer):
                return answer
        give_up("the agent has gone")

    def ask(self, **operation):
        self.send({"id": "ask", **operation})
        answer = self.until(lambda line: line.get("id") == "ask" and "ok" in line)
        if not answer["ok"]:
            give_up(answer["error"])
        return answer


def keep_asking(path, operation, times, stop):
    """Asks until stopped; appends (begin, seconds) of each answer to `times`."""
    client = Client(path)
    while not stop.is_set():
        begin = time.perf_counter()
        try:
            client.ask(**operation)
        except (OSError, SystemExit):
            if stop.is_set():
                return
            raise
        times.append((begin, time.perf_counter() - begin))
        time.sleep(0.0005)


def milliseconds(seconds):
    return f"{1000 * seconds:9.2f}"


def latencies(times, begin, end):
    """Median, 99 percent and longest of the answers that were asked for in between, in milliseconds."""
    answers = sorted(took for at, took in times if begin <= at <= end) or [0]
    late = answers[min(len(answers) - 1, len(answers) * 99 // 100)]
    return milliseconds(answers[len(answers) // 2]) + milliseconds(late) + milliseconds(answers[-1])
