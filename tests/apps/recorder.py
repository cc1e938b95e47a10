"""`zqlog record`, and the records that it has made until now."""

import json
import pathlib
import subprocess
import threading
import time


class Recorder:
    def __init__(self, zqlog, cache_folder):
        self.cache = pathlib.Path(cache_folder)
        self.clicks = []  # (when it was told, what was told)
        self.process = subprocess.Popen([zqlog, "record", "--session", "APPS", "--answer", "no"],
                                        stdout=subprocess.PIPE, text=True)
        started = json.loads(self.process.stdout.readline() or "{}")
        if not started.get("start"):
            raise RuntimeError("zqlog record did not start")
        threading.Thread(target=self.listen, daemon=True).start()

    def listen(self):
        for line in self.process.stdout:
            click = json.loads(line).get("onClick")
            if click:
                self.clicks.append((time.monotonic(), click))

    def records(self):
        found = []
        for file in self.cache.rglob("slog*.json"):
            for line in file.read_text(encoding="utf-8").split(",\n"):
                if line:
                    found.append(json.loads(line))
        return sorted(found, key=lambda record: record["id"])

    def stop(self):
        self.process.terminate()
        self.process.wait()
