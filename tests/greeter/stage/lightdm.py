"""LightDM's side of the talk with its greeter, as liblightdm-gobject 1.26 has it: over two pipes, whose
numbers stand in the greeter's environment. A message is its number, the length of the rest, and
that: numbers of 32 bits, the highest byte first, and texts with their length before them."""
import contextlib
import os
import struct

from gi.repository import GLib

from conversations import CONV_ERR, QUESTION, SECRET

VERSION = "1.26.0"

# What the greeter says.
CONNECT, AUTHENTICATE, AUTHENTICATE_AS_GUEST, CONTINUE_AUTHENTICATION, START_SESSION, \
    CANCEL_AUTHENTICATION, SET_LANGUAGE, AUTHENTICATE_REMOTE, ENSURE_SHARED_DIR = range(9)

# What LightDM says.
CONNECTED, PROMPT_AUTHENTICATION, END_AUTHENTICATION, SESSION_RESULT, SHARED_DIR_RESULT, IDLE, RESET, \
    CONNECTED_V2 = range(8)


def _number(value):
    return struct.pack(">I", value)


def _text(value):
    encoded = value.encode()
    return _number(len(encoded)) + encoded


def _pairs(texts):
    return b"".join(_text(key) + _text(value) for key, value in texts.items())


class _Reader:
    def __init__(self, content):
        self._content = content
        self._place = 0

    def number(self):
        self._place += 4
        return struct.unpack_from(">I", self._content, self._place - 4)[0]

    def text(self):
        length = self.number()
        self._place += length
        return self._content[self._place - length:self._place].decode()


class LightDM:
    """Talks by the conversation of whoever is named, of which a new one begins with each
    authentication (conversations.py); "" is for whom there is none, None the guest's. What the greeter
    said stands in said, oldest first: ("authenticate", "ann"), ("answer", "secret"), …"""

    def __init__(self, hints, conversations):
        self.hints = dict(hints)
        self.conversations = dict(conversations)
        self.said = []
        self.session_result = 0
        self._language = ""
        self._sequence = 0
        self._name = ""
        self._talk = None
        self._prompts = 0
        self._read = b""
        self._from_greeter, self._greeters_output = os.pipe()
        self._greeters_input, self._to_greeter = os.pipe()
        self._watch = GLib.io_add_watch(self._from_greeter, GLib.PRIORITY_DEFAULT,
                                        GLib.IOCondition.IN | GLib.IOCondition.HUP, self._receive)

    @property
    def greeters_ends(self):
        """The descriptors that the greeter has to have."""
        return [self._greeters_output, self._greeters_input]

    @property
    def environment(self):
        return {"LIGHTDM_TO_SERVER_FD": str(self._greeters_output),
                "LIGHTDM_FROM_SERVER_FD": str(self._greeters_input)}

    def greeter_has_begun(self):
        """The greeter has its ends; nobody else does."""
        os.close(self._greeters_output)
        os.close(self._greeters_input)
        self._greeters_output = self._greeters_input = None

    def go(self):
        """Is no more: nothing is answered, and the pipes end."""
        if self._watch:
            GLib.source_remove(self._watch)
            self._watch = None
        for end in (self._from_greeter, self._to_greeter):
            if end is not None:
                os.close(end)
        self._from_greeter = self._to_greeter = None

    def has_heard(self, *words):
        return words in self.said

    def reset(self, **hints):
        """Has the greeter that is there begin anew, with these hints."""
        self.hints = hints
        self._send(RESET, _pairs(hints))

    def _send(self, message, content=b""):
        if self._to_greeter is not None:
            with contextlib.suppress(BrokenPipeError):  # the greeter has ended
                os.write(self._to_greeter, _number(message) + _number(len(content)) + content)

    def _receive(self, *_):
        read = os.read(self._from_greeter, 65536)
        if not read:
            self._watch = None
            return False
        self._read += read
        while len(self._read) >= 8:
            message, length = struct.unpack(">II", self._read[:8])
            if len(self._read) < 8 + length:
                break
            content, self._read = self._read[8:8 + length], self._read[8 + length:]
            self._handle(message, _Reader(content))
            if self._from_greeter is None:
                return False
        return True

    def _handle(self, message, content):
        if message == CONNECT:
            self._connect(content.text(), content.number(), content.number())
        elif message == AUTHENTICATE:
            self._begin(content.number(), content.text())
        elif message == AUTHENTICATE_AS_GUEST:
            self._begin(content.number(), None)
        elif message == CONTINUE_AUTHENTICATION:
            answers = [content.text() for _ in range(content.number())]
            self.said.append(("answer", *answers))
            self._answer(answers)
        elif message == START_SESSION:
            self.said.append(("session", content.text()))
            if self.session_result is not None:  # else it never begins
                self._send(SESSION_RESULT, _number(self.session_result))
        elif message == CANCEL_AUTHENTICATION:
            self.said.append(("cancel",))
            self._talk = None
        elif message == SET_LANGUAGE:
            self.said.append(("language", content.text()))
        else:
            raise RuntimeError(f"the greeter sent message {message}")

    def _connect(self, version, is_resettable, api):
        self.said.append(("connect", version, bool(is_resettable), api))
        if api == 0:
            self._send(CONNECTED, _text(VERSION) + _pairs(self.hints))
        else:
            self._send(CONNECTED_V2, _number(api) + _text(VERSION) + _number(len(self.hints))
                       + _pairs(self.hints))

    def _begin(self, sequence, name):
        self.said.append(("guest",) if name is None else ("authenticate", name))
        self._sequence, self._name = sequence, name or ""
        conversation = self.conversations.get(name, self.conversations[""])
        self._talk = conversation()
        self._go_on(None)

    def _answer(self, answers):
        """As many answers as there are prompts are wanted in one go; else it ends."""
        if self._talk is None:
            return
        if len(answers) == self._prompts:
            self._go_on(answers[0] if len(answers) == 1 else answers)
        else:
            self._end(CONV_ERR)

    def _end(self, result):
        self._talk = None
        self._send(END_AUTHENTICATION,
                   _number(self._sequence) + _text(self._name) + _number(result))

    def _go_on(self, answer):
        """Says what comes next, until an answer is waited for."""
        while self._talk is not None:
            try:
                says = self._talk.send(answer)
            except StopIteration as end:
                self._end(end.value)
                return
            if says is None:  # never goes on
                self._talk = None
            elif not says:
                self.go()
                return
            else:
                self._send(PROMPT_AUTHENTICATION, _number(self._sequence) + _text(self._name)
                           + _number(len(says))
                           + b"".join(_number(style) + _text(text) for style, text in says))
            self._prompts = sum(style in (SECRET, QUESTION) for style, _ in says or [])
            if says is None or self._prompts:
                return
            answer = None
