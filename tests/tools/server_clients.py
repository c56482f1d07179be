#!/usr/bin/env python3
"""The server as the clients people put in front of it use it.

Python's http.client sends a whole body without waiting for leave, so a body
over the limit must still come back as a 413, not a broken pipe.  nlp.js
reads `value.value` and `value.grain` of each entity; Rasa posts its form
with locale, tz and reftime.  Each is played here through a real server
process.

    server_clients.py PATH/TO/extractor-kr-server
"""
import http.client
import json
import re
import subprocess
import sys
import urllib.parse

REFTIME = 1764050400000  # Wednesday 2025-11-25 15:00 in Seoul


def start(server):
    proc = subprocess.Popen([server, "--port", "0"], stdout=subprocess.PIPE, text=True)
    line = proc.stdout.readline()
    m = re.search(r"http://127\.0\.0\.1:(\d+)", line)
    if not m:
        proc.kill()
        sys.exit(f"the server did not say where it listens: {line!r}")
    return proc, int(m.group(1))


def post(port, fields=None, body=None):
    conn = http.client.HTTPConnection("127.0.0.1", port, timeout=30)
    if body is None:
        body = urllib.parse.urlencode(fields).encode()
    conn.request("POST", "/parse", body=body,
                 headers={"Content-Type": "application/x-www-form-urlencoded"})
    reply = conn.getresponse()
    data = reply.read()
    conn.close()
    return reply.status, data


def main():
    proc, port = start(sys.argv[1])
    failures = []

    def expect(what, got, want):
        if got != want:
            failures.append(f"{what}: got {got!r}, want {want!r}")

    try:
        status, data = post(port, body=b"text=" + b"a" * (2 << 20))
        expect("2 MiB through http.client", status, 413)
        expect("its body", json.loads(data), {"error": "body: more than 1048576 bytes"})

        # nlp.js: one value with its grain for a whole week, month or year.
        for text, value, grain in [
            ("다음 주", "2025-12-01T00:00:00.000+09:00", "week"),
            ("12월", "2025-12-01T00:00:00.000+09:00", "month"),
            ("올해", "2025-01-01T00:00:00.000+09:00", "year"),
        ]:
            status, data = post(port, {"text": text, "locale": "ko_KR", "reftime": REFTIME})
            entities = json.loads(data)
            expect(f"{text}: status", status, 200)
            got = [(e["value"].get("value"), e["value"].get("grain")) for e in entities]
            expect(f"{text}: value.value and value.grain", got, [(value, grain)])

        # Rasa: its form, and the start of the entity it reads.
        status, data = post(port, {"text": "내일 오후 3시에 보자", "locale": "ko_KR",
                                   "tz": "Asia/Seoul", "reftime": REFTIME})
        expect("Rasa: status", status, 200)
        entities = json.loads(data)
        expect("Rasa: entities", [(e["dim"], e["start"], e["end"], e["value"]["value"])
                                  for e in entities],
               [("time", 0, 8, "2025-11-26T15:00:00.000+09:00")])
    finally:
        proc.terminate()
        proc.wait(timeout=30)

    for f in failures:
        print(f)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
