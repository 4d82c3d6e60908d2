"""The real service over a world, on a stage's bus."""
import json
import signal
import subprocess


class World:
    """The world is a file's path, or what is to stand in one."""

    def __init__(self, stage, world):
        self._stage = stage
        if isinstance(world, dict):
            text = json.dumps(world)
        else:  # its pictures stand beside it
            text = world.read_text(encoding="utf-8").replace('"pictures/', f'"{world.parent}/pictures/')
        file = stage.folder / "stage.world.json"
        file.write_text(text, encoding="utf-8")
        self._process = stage.processes.start(
            stage.programs.world_service, stage.system_bus.address, file, stdin=subprocess.PIPE,
            stdout=subprocess.PIPE, text=True, encoding="utf-8")
        ready = self._process.stdout.readline().split()
        if not ready:
            raise RuntimeError(f"there is no service over {file}")
        self.now = int(ready[1])  # seconds since 1970

    def happen(self, **event):
        """A step of a script of events (gatehallctl(1)): happen(addUser={…}), happen(after=3600)."""
        self._tell(json.dumps(event))

    def add(self, **attributes):
        self.happen(addUser={"attributes": attributes, "password": ""})

    def leave(self):
        """The service is ended, and off the bus."""
        self._tell("leave")

    def come(self):
        """The service is started anew."""
        self._tell("come")

    def be_mute(self):
        """Questions about accounts aren't answered from now on."""
        self._tell("mute")

    def speak(self):
        self._tell("speak")

    def stop(self):
        """Nothing is answered from now on."""
        self._process.send_signal(signal.SIGSTOP)

    def go_on(self):
        self._process.send_signal(signal.SIGCONT)

    def _tell(self, line):
        self._process.stdin.write(line + "\n")
        self._process.stdin.flush()
        if self._process.stdout.readline() != "done\n":
            raise RuntimeError(f"the world could not take {line}")


def user(name, uid, **attributes):
    """A record of a local account."""
    return {"type": "Users", "password": attributes.pop("password", "secret"), "attributes": {
        "RecordName": name, "UniqueID": uid, "FullName": name.title(),
        "GUID": f"57A6E000-0000-4000-8000-{uid:012}", "UserShell": "/bin/bash",
        "NFSHomeDirectory": f"/home/{name}", "AuthenticationAuthority": ";ShadowHash;", **attributes}}


def mobile(name, uid, **attributes):
    """A copy of a network account: unlike the local accounts it stays in the list when it is refused."""
    return user(name, uid, OriginalNodeName="ldap/students", CopyTimestamp="2026-11-20T16:40:12Z", **attributes)


def refusing(*uids):
    """The policy that lets these users of user() or mobile() not log in."""
    return {"com.orvane.gatehall": {"system": {
        "DenyList": [f"57A6E000-0000-4000-8000-{uid:012}" for uid in uids]}}}


def world_of(*users, **sections):
    """A world with these records, on a Saturday evening."""
    return {"now": "2026-11-21T19:10:00Z",
            "directory": {"localNode": "local",
                          "searchNode": {"name": "search", "covers": ["local", "unix"]},
                          "nodes": [{"name": "local", "records": list(users)}, {"name": "unix"}]},
            **sections}
