"""Stands in front of the container's slapd, and goes wrong from a search of one's choice on."""
import asyncio
import contextlib
import socket
import struct
import threading

SERVER = ("127.0.0.1", 389)
SEARCH = 0x63
SEARCH_DONE = 0x65

# What it does instead of passing a search on. Those with a number answer that result of LDAP's.
RESET, CLOSE, MUTE, CUT, GARBAGE = "resets", "closes", "falls mute", "cuts answers short", "babbles"
TIME_LIMIT, SIZE_LIMIT, ADMIN_LIMIT, ACCESS, BUSY, UNAVAILABLE = 3, 4, 11, 50, 51, 52


class DirectoryProxy:
    """Runs in a thread of its own, on a port of the loopback interface that is free."""

    def __init__(self):
        self.went_wrong = False
        self._way, self._first, self._searches = None, 1, 0
        self._loop = asyncio.new_event_loop()
        self._server = self._loop.run_until_complete(
            asyncio.start_server(self._serve, "127.0.0.1", 0))
        self.port = self._server.sockets[0].getsockname()[1]
        self._thread = threading.Thread(target=self._loop.run_forever, daemon=True)
        self._thread.start()

    def go_wrong(self, way=None, first=1):
        """From the first, second, … search on, counted from now; without a way all goes well. A way
        that can be called is called in the place of that one search, which is then passed on."""
        self._way, self._first, self._searches, self.went_wrong = way, first, 0, False

    def stop(self):
        self._loop.call_soon_threadsafe(self._loop.stop)
        self._thread.join()
        self._server.close()
        for task in asyncio.all_tasks(self._loop):
            task.cancel()
        self._loop.run_until_complete(asyncio.sleep(0))
        self._loop.close()

    async def _serve(self, client, answers):
        try:
            server, questions = await asyncio.open_connection(*SERVER)
        except OSError:
            answers.close()
            return
        passing = asyncio.ensure_future(_pass_on(server, answers))
        try:
            while True:
                message, operation = await _message(client)
                way = self._way if operation == SEARCH and self._counts() else None
                if callable(way):
                    await self._loop.run_in_executor(None, way)
                elif way == CUT:
                    passing.cancel()
                    await asyncio.wait([passing])
                    questions.write(message)
                    answer = await server.read(65536)
                    answers.write(answer[:len(answer) // 2])
                    break
                elif way is not None:
                    if not _misbehave(way, message, answers):
                        break
                    continue
                questions.write(message)
        except (asyncio.IncompleteReadError, ConnectionError):
            pass  # the client is gone
        finally:
            passing.cancel()
            questions.close()
            answers.close()

    def _counts(self):
        """Whether this search is one that goes wrong."""
        self._searches += 1
        wrong = self._way is not None and (
            self._searches == self._first if callable(self._way) else self._searches >= self._first)
        self.went_wrong = self.went_wrong or wrong
        return wrong


async def _pass_on(server, answers):
    with contextlib.suppress(ConnectionError):  # the server is gone
        while data := await server.read(65536):
            answers.write(data)
    answers.close()


async def _message(client):
    """One message of LDAP's, and which operation it is about."""
    head = await client.readexactly(2)
    length = head[1]
    if length & 0x80:
        more = await client.readexactly(length & 0x7F)
        head, length = head + more, int.from_bytes(more, "big")
    body = await client.readexactly(length)
    return head + body, body[2 + body[1]]


def _misbehave(way, message, answers):
    """Whether the connection stays."""
    if way == RESET:
        answers.get_extra_info("socket").setsockopt(socket.SOL_SOCKET, socket.SO_LINGER,
                                                    struct.pack("ii", 1, 0))
        answers.transport.abort()
    elif way == GARBAGE:
        answers.write(b"HTTP/1.1 400 Bad Request\r\n\r\n" * 20)
    elif isinstance(way, int):
        answers.write(_result(message, way))
    return way not in (RESET, CLOSE)


def _result(message, code):
    """The answer that ends a search without an entry."""
    start = 2 + (message[1] & 0x7F if message[1] & 0x80 else 0)
    identifier = message[start:start + 2 + message[start + 1]]
    done = bytes([SEARCH_DONE, 7, 0x0A, 1, code, 4, 0, 4, 0])
    return bytes([0x30, len(identifier) + len(done)]) + identifier + done
