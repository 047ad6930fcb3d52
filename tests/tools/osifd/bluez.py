"""A system bus with a BlueZ that is none, for one scenario of tests/tools/osifd/bluetooth_test.cpp.

    bluez.py FOLDER SCENARIO COMMAND...

COMMAND is the service; FOLDER is empty, and gets its log. What the scenario saw goes to standard output, a line each.
"""

import os
import re
import signal
import socket
import subprocess
import sys
import time

import dbus

CONFIG = """<busconfig><type>system</type><listen>%s</listen><auth>EXTERNAL</auth>
<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/></policy>
</busconfig>"""

BUS = "org.freedesktop.DBus"
PUSH, SYNC = "Object Push", "IrMC Synchronisation"
ADDRESS = "00:11:22:33:44:55"


def wait_until(is_so, what):
    end = time.monotonic() + 60
    while not is_so():
        if time.monotonic() > end:
            print("waited in vain for", what)
            sys.exit(1)
        time.sleep(0.01)


class World:
    def __init__(self, folder, command):
        self.folder, self.command = folder, command
        self.address = "unix:path=" + folder + "/bus"
        os.environ["DBUS_SYSTEM_BUS_ADDRESS"] = self.address
        self.processes = []
        self.start_bus()

    def start(self, command, **how):
        process = subprocess.Popen(command, stdin=subprocess.DEVNULL, **how)
        self.processes.append(process)
        return process

    def end(self, process):
        process.send_signal(signal.SIGTERM)
        status = process.wait(60)
        self.processes.remove(process)
        return status

    def end_all(self):
        for process in reversed(self.processes):
            process.kill()
            process.wait()

    def start_bus(self):
        config = self.folder + "/bus.conf"
        with open(config, "w") as file:
            file.write(CONFIG % self.address)
        self.bus_process = self.start(["/usr/bin/dbus-daemon", "--nofork", "--config-file=" + config])
        wait_until(self.is_bus_there, "the bus")
        self.bus = dbus.bus.BusConnection(self.address)

    def is_bus_there(self):
        probe = socket.socket(socket.AF_UNIX)
        try:
            probe.connect(self.folder + "/bus")
            return True
        except OSError:
            return False
        finally:
            probe.close()

    def start_bluez(self):
        self.bluez = self.start(["/usr/bin/python3", "-m", "dbusmock", "--system", "--template", "bluez5"],
                                stdout=subprocess.DEVNULL)
        wait_until(lambda: self.bus.name_has_owner("org.bluez"), "BlueZ")
        self.mock = dbus.Interface(self.bus.get_object("org.bluez", "/org/bluez"), BUS + ".Mock")

    # The interface by which the devices of an adapter are added.
    def add_adapter(self):
        adapters = dbus.Interface(self.bus.get_object("org.bluez", "/org/bluez"), "org.bluez.Mock")
        adapters.AddAdapter("hci0", "here")
        return adapters

    # A device whose connecting is done by this code.
    def add_device(self, adapters, connect):
        path = adapters.AddDevice("hci0", ADDRESS, "a phone")
        device = dbus.Interface(self.bus.get_object("org.bluez", path), BUS + ".Mock")
        device.AddMethod("org.bluez.Device1", "ConnectProfile", "s", "", connect)
        return device

    def start_service(self):
        self.log_file = open(self.folder + "/log", "wb")
        self.service = self.start(self.command + ["--bluetooth"], stdout=subprocess.DEVNULL, stderr=self.log_file)

    def log(self):
        with open(self.folder + "/log", encoding="utf-8") as file:
            return file.read()

    def await_log(self, text, count=1):
        wait_until(lambda: self.log().count(text) >= count, "%r in the log:\n%s" % (text, self.log()))

    def await_registered(self, count=1):
        for name in (PUSH, SYNC):
            self.await_log(name + " is registered", count)

    # The service has no name on the bus but the one that it is given there.
    def service_name(self):
        bus = dbus.Interface(self.bus.get_object(BUS, "/" + BUS.replace(".", "/")), BUS)
        for name in bus.ListNames():
            if name.startswith(":") and bus.GetConnectionUnixProcessID(name) == self.service.pid:
                return name
        raise RuntimeError("the service is not on the bus")

    def call(self, path, method, signature, arguments):
        return self.bus.call_blocking(self.service_name(), path, "org.bluez.Profile1", method, signature, arguments)

    # A device's side of a new connection.
    def connect(self, path):
        here, there = socket.socketpair()
        here.settimeout(60)
        self.call(path, "NewConnection", "oha{sv}",
                  (dbus.ObjectPath("/org/bluez/hci0/dev_00_11_22_33_44_55"), dbus.types.UnixFd(there.fileno()),
                   dbus.Dictionary({}, signature="sv")))
        there.close()
        return here


def exchange(connection, packet):
    connection.sendall(packet)
    head = b""
    while len(head) < 3:
        piece = connection.recv(3 - len(head))
        if not piece:
            return b""
        head += piece
    rest = int.from_bytes(head[1:], "big") - 3
    body = b""
    while len(body) < rest:
        body += connection.recv(rest - len(body))
    return head + body


def header(kind, value):
    return bytes([kind]) + (len(value) + 3).to_bytes(2, "big") + value


def packet(opcode, rest):
    return bytes([opcode]) + (len(rest) + 3).to_bytes(2, "big") + rest


CONNECT = b"\x10\x00\x10\x00"
CARD = b"BEGIN:VCARD\r\nVERSION:2.1\r\nN:Lee;Ann\r\nEND:VCARD\r\n"


def numbers(record, attribute):
    part = re.search(r'<attribute id="%s">(.*?)</attribute>' % attribute, record, re.S)
    return ",".join(re.findall(r'value="([^"]*)"', part.group(1))) if part else "none"


# ---- Scenarios ------------------------------------------------------------------------------------------------------

def registration(world):
    world.start_bluez()
    world.start_service()
    world.await_registered()
    for _, (path, uuid, options) in world.mock.GetMethodCalls("RegisterProfile"):
        print(path, uuid)
        for key in sorted(options):
            if key != "ServiceRecord":
                print(" ", key, options[key])
        for attribute in ("0x0001", "0x0004", "0x0009", "0x0301", "0x0303"):
            print(" ", attribute, numbers(str(options["ServiceRecord"]), attribute))


def connection(world):
    world.start_bluez()
    world.start_service()
    world.await_registered()
    push = world.connect("/osifd/push")
    print("connect %02X" % exchange(push, packet(0x80, CONNECT))[0])
    print("put %02X" % exchange(push, packet(0x82, header(0x49, CARD)))[0])
    sync = world.connect("/osifd/sync")
    print("connect %02X" % exchange(sync, packet(0x80, CONNECT + header(0x46, b"IRMC-SYNC")))[0])
    name = "telecom/pb/luid/cc.log".encode("utf-16-be") + b"\0\0"
    print("counter", exchange(sync, packet(0x83, header(0x01, name)))[-3:-2].decode())
    for path in ("/osifd/push", "/osifd/sync"):
        world.call(path, "RequestDisconnection", "o", (dbus.ObjectPath("/org/bluez/hci0/dev_00_11_22_33_44_55"),))
    print("disconnect %02X" % exchange(sync, packet(0x81, b""))[0])
    push.close()
    sync.close()
    world.await_log("closed by the peer", 2)
    print("status", world.end(world.service))
    print(*sorted(line for line in world.log().splitlines() if "00:11:22:33:44:55" in line), sep="\n")


def later(world):
    world.start_service()
    world.await_log("is not registered", 2)
    world.start_bluez()
    world.await_registered()
    world.end(world.bluez)
    world.await_log("BlueZ is gone")
    world.start_bluez()
    world.await_registered(2)
    push = world.connect("/osifd/push")
    print("put %02X" % exchange(push, packet(0x82, header(0x49, CARD)))[0])
    print("status", world.end(world.service))


def bus_loss(world):
    world.start_bluez()
    world.start_service()
    world.await_registered()
    push = world.connect("/osifd/push")
    world.end(world.bluez)
    world.end(world.bus_process)
    world.await_log("the system bus is gone")
    print("put %02X" % exchange(push, packet(0x82, header(0x49, CARD)))[0])
    world.start_bus()
    world.start_bluez()
    world.await_log("the system bus is back")
    world.await_registered(2)
    push = world.connect("/osifd/push")
    print("put %02X" % exchange(push, packet(0x82, header(0x49, CARD)))[0])
    print("status", world.end(world.service))


def refusal(world):
    world.start_bluez()
    world.mock.AddMethod("org.bluez.ProfileManager1", "RegisterProfile", "osa{sv}", "",
                         'raise dbus.exceptions.DBusException("UUID already registered", '
                         'name="org.bluez.Error.NotPermitted")')
    world.start_service()
    for name in (PUSH, SYNC):
        world.await_log(name + " is not registered: UUID already registered")
    print("status", world.end(world.service))


# The command is one of osif, which asks for a connection to the device that this is then.
def line(world):
    world.start_bluez()
    device = world.add_device(world.add_adapter(), "")
    world.log_file = open(world.folder + "/log", "wb")
    world.service = world.start(world.command, stdout=subprocess.PIPE, stderr=world.log_file)
    wait_until(lambda: device.GetMethodCalls("ConnectProfile"), "a wish to connect")
    _, (own_path, uuid, options) = world.mock.GetMethodCalls("RegisterProfile")[0]
    print(own_path, uuid, *("%s=%s" % (key, options[key]) for key in sorted(options)))
    print("to", *device.GetMethodCalls("ConnectProfile")[0][1])
    connection = world.connect(own_path)
    while True:
        head = connection.recv(3, socket.MSG_WAITALL)
        if len(head) < 3:
            break
        connection.recv(int.from_bytes(head[1:], "big") - 3, socket.MSG_WAITALL)
        print("asked %02X" % head[0])
        connection.sendall({0x80: packet(0xA0, CONNECT), 0x02: packet(0x90, b"")}.get(head[0], packet(0xA0, b"")))
    sys.stdout.write(world.service.stdout.read().decode())
    print("status", world.service.wait(60))


def run_to_its_end(world):
    done = subprocess.run(world.command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          timeout=60)
    print(done.stdout.decode() + "status", done.returncode)


# A device that BlueZ does not know, and one that cannot be reached.
def no_line(world):
    world.start_bluez()
    adapters = world.add_adapter()
    run_to_its_end(world)
    world.add_device(adapters, 'raise dbus.exceptions.DBusException("Host is down", name="org.bluez.Error.Failed")')
    run_to_its_end(world)


def main():
    folder, scenario, command = sys.argv[1], sys.argv[2], sys.argv[3:]
    world = World(folder, command)
    try:
        {"registration": registration, "connection": connection, "later": later, "bus_loss": bus_loss,
         "refusal": refusal, "line": line, "no_line": no_line}[scenario](world)
    finally:
        world.end_all()
        if os.path.exists(folder + "/log"):
            sys.stderr.write(world.log())


main()
