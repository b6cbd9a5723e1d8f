"""A client in Python, which connects as docs/wire-format.md says, and its test against the real companion.

    client.py SERVER       connects to the program SERVER, compares each answer byte for byte, and ends
"""
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile

from wire import ASYNCHRONOUS, Inbox, NamedLock, Packet, SYNCHRONOUS, server_pid, wait_for

SECONDS = 20


class Client:
    """One connection; the session's id on this side is 10."""
    number = 10

    def __init__(self, prefix, start):
        self.prefix, self.partner = prefix, 0
        self.lock = NamedLock(prefix)
        self.lock.acquire(SECONDS)
        if not server_pid(prefix):
            self.lock.release()
            start()
            wait_for(lambda: server_pid(prefix), SECONDS, "the server")
            self.lock.acquire(SECONDS)
        self.writer = os.open(os.path.join(prefix, "0"), os.O_WRONLY)
        self.inbox = Inbox(os.path.join(prefix, str(os.getpid())))
        self.greeting = self.ask("system.cndCnct")
        self.lock.release()

    def send(self, name, attributes=None, synchronicity=SYNCHRONOUS):
        packet = Packet(name, self.partner, self.number, synchronicity,
                        {**(attributes or {}), "CPID": os.getpid()})
        self.write(packet.line() + "\n")

    def write(self, text):
        os.write(self.writer, text.encode("utf-8", "surrogateescape"))

    def ask(self, name, attributes=None):
        """Sends a request and gives the line of the answer."""
        self.send(name, attributes)
        line = self.inbox.line(SECONDS)
        if line is None:
            raise TimeoutError(f"no answer to {name}")
        self.partner = Packet.parse(line).sender
        return line

    def end(self):
        line = self.ask("system.cndTerm")
        self.leave()
        return line

    def leave(self):
        os.close(self.writer)
        self.inbox.remove()
        self.lock.close()


SYSTEM_CODES = "j!237!3assnTerm!2ccndTerm!2ccndCnct!2cRESP!2cerror!2clistLocales!2clistFacilities"
LOCALES = ("j!2316!3aru_RU!2ces_ES!2cfr_FR!2ccs_CZ!2czh_CN!2cde_DE!2cja_JP!2cko_KR!2cpt_PT!2cpl_PL!2cpt_BR!2cen_CA!2c"
           "hu_HU!2cit_IT!2cen_US!2czh_TW")

# Request, its attributes, name of the answer, and the answer's attributes but for CPID, which stands last. Without an
# answer the last one is the request's synchronicity.
CONVERSATION = [
    ("system.listFacilities", {}, "system.RESP", "FLST=j!232!3aqmx!2corbu;RCOD=hlistFacilities;RSCD=d0"),
    ("system.listLocales", {}, "system.RESP", f"RCOD=hlistLocales;RSCD=d0;LCLT={LOCALES}"),
    ("system.index", {}, "system.RESP", f"RCOD=hindex;RSCD=d0;MLST={SYSTEM_CODES}"),
    ("system.", {}, "system.RESP", f"RCOD=h;RSCD=d0;MLST={SYSTEM_CODES}"),
    ("nosuch.listFacilities", {}, "nosuch.RESP", "FLST=j!232!3aqmx!2corbu;RCOD=hlistFacilities;RSCD=d0"),
    ("qmx.index", {}, "qmx.RESP", "RCOD=hindex;RSCD=d0;MLST=j!232!3aPresenter!2cMessageBox"),
    ("qmx.methodInformation", {"MTHN": "nosuch"}, "qmx.RESP", "MTHI=i;RCOD=hmethodInformation;RSCD=d0"),
    ("orbu.PleaseWaitDialog", {"waiting": "True", "locale": "x" * 20000}, "orbu.RESP", "RCOD=hPleaseWaitDialog;RSCD=d0"),
    ("orbu.ErrorDialog", {"title": "Disk full"}, "orbu.RESP", "RCOD=hErrorDialog;RSCD=d0"),
    ("qmx.MessageBox", {"button_0": "A", "focus_button_index": 1}, "qmx.RESP",
     "RCOD=hMessageBox;selected_button=d1;RSCD=d0"),
    ("qmx.Presenter", {}, "qmx.RESP", "presenter=hrules;RCOD=hPresenter;RSCD=d0"),
    ("orbu.ErrorDialog", {"title": "nobody waits"}, None, ASYNCHRONOUS),
    ("orbu.PleaseWaitDialog", {"waiting": "False"}, None, ASYNCHRONOUS),
    ("orbu.index", {}, None, ASYNCHRONOUS),
    ("qmx.methodInformation", {}, None, ASYNCHRONOUS),
    ("orbu.noSuchCode", {}, None, SYNCHRONOUS),
    ("system.x.y", {}, None, SYNCHRONOUS),  # the facility ends at the first point: an unknown code, and no answer
    ("system.cndCnct", {}, None, SYNCHRONOUS),  # connected already
    ("system.error", {"ECOD": 1, "EMSG": "x"}, None, SYNCHRONOUS),
]


# What stands in the file of rules, a request with the focus on button 1, and the button that is pressed.
ANSWERS = [
    ("", "qmx.MessageBox", 1),
    ("for=ErrorDialog never\nfor=MessageBox after=20ms button=7", "qmx.MessageBox", 7),
    ("caption=other never; nonsense=1; button=3", "qmx.MessageBox", 3),
    ("for=MessageBox never\nfor=ErrorDialog after=20ms button=0", "orbu.ErrorDialog", None),
]


def check(what, got, wanted):
    if got != wanted:
        raise AssertionError(f"{what}:\n  got    {got}\n  wanted {wanted}")


def converse(client, server):
    me = client.number
    check("the greeting", client.greeting,
          f"65536;system.RESP;{me};{client.partner};0;1;SSID=d{client.partner};RCOD=hcndCnct;RSCD=d0;CPID=d{server}")
    for name, attributes, answer, wanted in CONVERSATION:
        if answer:
            check(name, client.ask(name, attributes),
                  f"65536;{answer};{me};{client.partner};0;1;{wanted};CPID=d{server}")
        else:
            client.send(name, attributes, wanted)

    # An answer to one of the requests that get none would be taken for the answer here.
    facilities = f"FLST=j!232!3aqmx!2corbu;RCOD=hlistFacilities;RSCD=d0;CPID=d{server}"
    wanted = f"65536;system.RESP;{me};{client.partner};0;1;{facilities}"
    check("a request behind those without answer", client.ask("system.listFacilities"), wanted)

    # Lines that cannot be read open sessions of their own, which answer to all; the good line behind them is served.
    lines = ["65537;system.listLocales;0;0;0;2", "no line at all", "\udcff\x01;;;=\udcc3", ""]
    for number, broken in enumerate(lines, client.partner + 1):
        client.write(f"{broken}\n")
        if not broken:  # an empty line waits for the next
            client.send("system.listFacilities")
        check(f"the line {broken!a}", client.inbox.line(SECONDS),
              f"65536;.RESP;0;{number};0;1;RCOD=h;RSCD=d0;MLST={SYSTEM_CODES};CPID=d{server}")
    check("a request behind broken lines", client.inbox.line(SECONDS), wanted)

    # A half line is a line: the request is served before its end arrives, and what comes later is no part of it.
    client.write(f"65536;system.listFacilities;{client.partner};{me};0;2")
    check("half a line", client.inbox.line(SECONDS), wanted)
    check("the end", client.end(), f"65536;system.RESP;{me};{client.partner};0;1;RCOD=hcndTerm;CPID=d{server}")


def answer_dialogs(client, rules):
    for text, name, button in ANSWERS:
        rules(text)
        answer = Packet.parse(client.ask(name, {"focus_button_index": 1}))
        check(repr(text), answer.attributes.get("selected_button"), button)

    # Dialogs do not wait for one another: one that is never answered stands open while others come and go.
    rules("caption=stuck never\nafter=20ms")
    client.send("qmx.MessageBox", {"caption": "stuck"})
    for focus in (5, 6):
        client.send("qmx.MessageBox", {"focus_button_index": focus})
    answers = [Packet.parse(client.inbox.line(SECONDS)).attributes["selected_button"] for _ in range(2)]
    check("the answers beside a dialog that stays", answers, [5, 6])


def main(program):
    folder = tempfile.mkdtemp(prefix="orbu-wire-")
    rules_file = pathlib.Path(folder, "rules")
    prefix = os.path.join(folder, f"wire{os.getpid()}")
    processes = []

    def start():
        environment = {**os.environ, "PROCESS_ARGUMENTS": prefix, "ORBU_QMX_ANSWERS_FILE": str(rules_file)}
        processes.append(subprocess.Popen([program], env=environment, start_new_session=True))

    try:
        client = Client(prefix, start)
        server = processes[0].pid
        converse(client, server)
        check("what stands under the prefix after the client's end", sorted(os.listdir(prefix)), [".serverpid", "0"])

        client = Client(prefix, start)
        check("the number of servers", len(processes), 1)
        answer_dialogs(client, rules_file.write_text)
        processes[0].send_signal(signal.SIGTERM)
        # The server says goodbye to its client, and does not wait for it.
        wait_for(lambda: not server_pid(prefix), SECONDS, "the end of the role")
        client.leave()
        check("the server's exit", processes[0].wait(SECONDS), 0)
        check("what stands there after the server's end", os.path.exists(prefix), False)

        client = Client(prefix, start)
        rules_file.write_text("exit=9")
        client.send("orbu.ErrorDialog")
        check("the exit that was asked for", processes[1].wait(SECONDS), 9)
        client.leave()
    finally:
        for process in processes:
            if process.poll() is None:
                process.kill()
                process.wait()
        NamedLock(prefix).unlink()
        shutil.rmtree(folder)


if __name__ == "__main__":
    main(sys.argv[1])
