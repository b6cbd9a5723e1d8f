"""A client in a process of its own, so that it can be killed: takes requests from standard input, one JSON array a line
(name, attributes, and whether it waits for the answer), and writes the attributes of each answer to standard output.

    peer.py PREFIX         says "connected" when it is, and "sent" when the requests of a line are on their way
"""
import json
import os
import pathlib
import select
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "wire"))
from client import Client  # noqa: E402
from wire import ASYNCHRONOUS, SYNCHRONOUS, Packet  # noqa: E402

client = Client(sys.argv[1], lambda: sys.exit("there is no server"))
print("connected", flush=True)
requests = os.fdopen(0, "rb", 0)
while True:
    ready = select.select([requests, client.inbox.fd], [], [])[0]
    while client.inbox.fd in ready and (line := client.inbox.line(0)):
        print(json.dumps(Packet.parse(line).attributes), flush=True)
    if requests in ready:
        for name, attributes, waits in json.loads(requests.readline() or sys.exit()):
            client.send(name, attributes, SYNCHRONOUS if waits else ASYNCHRONOUS)
        print("sent", flush=True)
