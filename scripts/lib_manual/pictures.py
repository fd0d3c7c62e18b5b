"""Draws the pictures of the guide: layers, a connection, bytes on the wire, states of objects."""

import html
import sys

STYLE = """
text { font-family: system-ui, -apple-system, "Segoe UI", Roboto, "DejaVu Sans", sans-serif; font-size: 14px;
  fill: #1f2328; }
.paper { fill: #ffffff; } .box { fill: #eef4fb; stroke: #3b6ea5; stroke-width: 1.5; }
.other { fill: #f4f5f7; stroke: #7a8490; stroke-width: 1.5; } .marked { fill: #fdf1e3; stroke: #b4610b; stroke-width: 1.5; }
.line { fill: none; stroke: #4c5866; stroke-width: 1.5; } .head { fill: #4c5866; }
.soft { fill: #59636e; font-size: 12.5px; } .bold { font-weight: 600; }
.code { font-family: ui-monospace, "DejaVu Sans Mono", Menlo, Consolas, monospace; font-size: 13px; }
.label { paint-order: stroke; stroke: #ffffff; stroke-width: 5px; stroke-linejoin: round; }
@media (prefers-color-scheme: dark) {
text { fill: #e3e8ee; } .paper { fill: #14181d; } .box { fill: #1b2b3d; stroke: #6ea8e0; }
.other { fill: #22282f; stroke: #8b96a3; } .marked { fill: #3a2a16; stroke: #e0a155; }
.line { stroke: #a9b4c0; } .head { fill: #a9b4c0; } .soft { fill: #a3aeba; } .label { stroke: #14181d; }
}
"""


class Picture:
    """A drawing of a given size, in the units of its text."""

    def __init__(self, name, title, width, height):
        self.name, self.title, self.size = name, title, (width, height)
        self.parts = [f"<rect width=\"{width}\" height=\"{height}\" rx=\"6\" class=\"paper\"/>"]

    def text(self, x, y, words, kind="", anchor="middle"):
        self.parts.append(f"<text x=\"{x}\" y=\"{y}\" text-anchor=\"{anchor}\" class=\"{kind}\">"
                          f"{html.escape(words, quote=False)}</text>")

    def box(self, x, y, width, height, lines=(), kind="box", radius=6):
        """A box with its lines in the middle; a line is a text, or a text and its kind."""
        self.parts.append(f"<rect x=\"{x}\" y=\"{y}\" width=\"{width}\" height=\"{height}\" rx=\"{radius}\""
                          f" class=\"{kind}\"/>")
        first = y + height / 2 + 5 - 9 * (len(lines) - 1)
        for i, line in enumerate(lines):
            words, style = line if isinstance(line, tuple) else (line, "bold" if i == 0 else "soft")
            self.text(x + width / 2, first + 18 * i, words, style)

    def path(self, points, arrow=True, dashes=""):
        """A line along the points, straight, or bent when there are control points: SVG's own words."""
        style = f" stroke-dasharray=\"{dashes}\"" if dashes else ""
        end = f" marker-end=\"url(#{self.name}-head)\"" if arrow else ""
        self.parts.append(f"<path d=\"{points}\" class=\"line\"{style}{end}/>")

    def svg(self):
        width, height = self.size
        marker = (f"<defs><marker id=\"{self.name}-head\" viewBox=\"0 0 10 10\" refX=\"9\" refY=\"5\" markerWidth=\"8\""
                  " markerHeight=\"8\" orient=\"auto-start-reverse\"><path d=\"M0 0L10 5L0 10z\" class=\"head\"/>"
                  "</marker></defs>")
        return "\n".join([
            f"<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 {width} {height}\" width=\"{width}\""
            f" height=\"{height}\" role=\"img\">", f"<title>{html.escape(self.title)}</title>",
            f"<style>{STYLE}</style>", marker, *self.parts, "</svg>\n"])


def layers():
    p = Picture("layers", "Layers of the library", 640, 400)
    p.box(20, 16, 600, 44, [("Your program", "bold")], "other")
    p.box(20, 84, 600, 232, [], "paper")
    p.parts.append("<rect x=\"20\" y=\"84\" width=\"600\" height=\"232\" rx=\"6\" class=\"line\"/>")
    p.text(32, 104, "libkelinfra.so.1", "soft", "start")
    p.box(36, 114, 276, 56, ["Utilities: nx::util", "ExtendedProperties, Base64"])
    p.box(328, 114, 276, 56, ["Network and threads", "Socket, SocketServer, Thread, Runnable"])
    p.box(36, 186, 276, 56, ["Text and numbers", "Converter, UTF8String, Formatter ..."])
    p.box(328, 186, 276, 56, ["Buffers and streams", "DataBuffer, ByteBuffer, OutputStream ..."])
    p.box(36, 258, 568, 46, ["Diagnostics: every failure", "Message, MessageList, BaseException and its classes"])
    p.path("M312 214H328", arrow=False)
    for x in (174, 466):
        p.path(f"M{x} 170V186")
        p.path(f"M{x} 242V258")
        p.path(f"M{x} 60V114")
    p.box(20, 340, 600, 44, [("ICU, POSIX, the C++ standard library", "bold")], "other")
    p.path("M320 316V340")
    return p


def connection():
    p = Picture("connection", "Life of a connection", 640, 560)
    for x, words in ((150, "Client"), (490, "Server")):
        p.box(x - 80, 16, 160, 36, [(words, "bold")], "other")
        p.path(f"M{x} 52V544", arrow=False, dashes="3 4")

    def call(x, y, words, note=None):
        width = 200
        p.box(x - width / 2, y, width, 26, [(words, "code")], "box", 4)
        if note:
            p.text(x, y + 42, note, "soft label")

    def message(y, words, back=False):
        p.path(f"M{390 if back else 250} {y}H{250 if back else 390}")
        p.text(320, y - 8, words, "soft label")

    call(490, 66, "listen(0, 16, false)", "getPort() tells the port")
    call(490, 126, "accept(peer, &ms)", "waits, at most ms")
    call(150, 126, "connect(host, port, &ms)", "ERR_SOCKET_TIMEOUT after ms")
    message(148, "connection")
    call(490, 186, "peer.setTcpNoDelay(true)", "connect() has done so itself")
    call(150, 246, "writeItem(request)")
    message(260, "length, bytes")
    call(490, 246, "peer.readItem(...)")
    call(490, 296, "peer.writeItem(answer)")
    message(310, "length, bytes", back=True)
    call(150, 296, "readItem(...)")
    p.text(320, 346, "any number of items, either way", "soft label")
    call(150, 366, "close()", "or the end of the object")
    message(380, "end of the stream")
    call(490, 366, "peer.readItem(...)", "throws ERR_SOCKET_CLOSED")
    call(490, 426, "peer.close()", "the descriptor is gone")
    p.box(50, 486, 540, 54, ["A peer that resets the connection", "NX_ERR_SOCKET_CONNECTION_RESET, with host and port"],
          "marked")
    return p


def cells(p, x, y, values, width=44, kind="box", code="code"):
    for i, value in enumerate(values):
        p.box(x + i * width, y, width, 34, [(value, code)] if value else [], kind, 0)
    return x + len(values) * width


def brace(p, x, end, y, words, kind="soft"):
    p.path(f"M{x} {y}V{y + 8}H{end}V{y}", arrow=False)
    p.text((x + end) / 2, y + 25, words, kind)


def item():
    p = Picture("item", "Bytes of an item", 640, 212)
    p.text(20, 28, "Socket::writeItem(\"hello\", 0, 5)", "code", "start")
    for i in range(10):
        p.text(42 + i * 44, 58, str(i), "soft")
    x = cells(p, 20, 66, ["00", "00", "00", "05"], kind="marked")
    end = cells(p, x, 66, ["68", "65", "6c", "6c", "6f"])
    cells(p, end, 66, ["00", "00", "..."], kind="other")
    brace(p, 22, x - 3, 108, "length N = 5", "bold")
    brace(p, x + 3, end - 3, 108, "N bytes, as given", "bold")
    brace(p, end + 3, end + 130, 108, "next item", "bold")
    p.text(22, 162, "Unsigned, most significant byte first: 0 to 4,294,967,295.", "soft", "start")
    p.text(22, 182, "No terminator, no checksum, no escaping; an item of length 0 is its prefix alone.", "soft", "start")
    return p


def address_record():
    p = Picture("address-record", "Bytes of an address record", 640, 356)
    p.text(20, 28, "Socket::_AddrInfoExternal, 3,000 bytes", "bold", "start")
    record = [("U", 44, "marked", "2"), ("host name, NUL", 150, "box", "H"), ("port", 56, "box", "2"),
              ("entry", 84, "box", ""), ("entry", 84, "box", ""), ("...", 44, "box", ""), ("unused, zero", 138, "other", "")]
    x = 20
    places = []
    for words, width, kind, size in record:
        p.box(x, 58, width, 38, [(words, "")], kind, 0)
        p.text(x + width / 2, 50, size, "soft")
        places.append(x)
        x += width
    brace(p, places[1] + 2, places[6] - 2, 102, "U bytes", "bold")
    p.path(f"M{places[3]} 96L20 190", arrow=False, dashes="4 4")
    p.path(f"M{places[4]} 96L620 190", arrow=False, dashes="4 4")
    p.text(320, 176, "An entry: one address", "bold label")
    entry = [("flags", 58, "box", "4"), ("family", 64, "box", "4"), ("type", 52, "box", "4"), ("protocol", 76, "box", "4"),
             ("A", 60, "marked", "8"), ("socket address", 126, "box", "A"), ("K", 40, "marked", "2"), ("canonical name", 124, "box", "K")]
    x = 20
    for words, width, kind, size in entry:
        p.box(x, 212, width, 38, [(words, "")], kind, 0)
        p.text(x + width / 2, 204, size, "soft label")
        x += width
    p.text(20, 282, "The figures above the boxes count bytes. U, A and K are lengths of what follows them;", "soft", "start")
    p.text(20, 302, "A is 16 for IPv4 and 28 for IPv6, K is 0 without a canonical name.", "soft", "start")
    p.text(20, 322, "Numbers stand in the order of the processor, inside socket addresses in that of the network.", "soft", "start")
    p.text(20, 342, "Readers check every length before they follow it.", "soft", "start")
    return p


def states(name, title, height, boxes, arrows, notes):
    """Boxes: (kind, x, y, width, lines). Arrows: (path, label, x, y, anchor). Notes: (x, y, anchor, lines)."""
    p = Picture(name, title, 640, height)
    for kind, x, y, width, lines in boxes:
        p.box(x, y, width, 64, lines, kind)
    for path, label, x, y, anchor in arrows:
        p.path(path, dashes="5 4" if label == "copied" else "")
        p.text(x, y, label, "soft label", anchor)
    for x, y, anchor, lines in notes:
        for i, line in enumerate(lines):
            p.text(x, y + 18 * i, line, "soft", anchor)
    return p


def socket_states():
    return states("states-socket", "States of a Socket", 330, [
        ("box", 30, 60, 190, ["without descriptor", "getDescriptor() is -1"]),
        ("box", 420, 60, 190, ["connected, owning", "isOwner() is true"]),
        ("box", 30, 220, 190, ["shut down, owning", "the descriptor stays"]),
        ("marked", 420, 220, 190, ["copy", "isOwner() is false"])], [
        ("M125 20V60", "Socket()", 135, 40, "start"),
        ("M220 80H420", "connect(), or accepted", 320, 70, "middle"),
        ("M420 106H220", "close(), or its end", 320, 126, "middle"),
        ("M420 118L220 236", "shutdownRead() ...", 330, 186, "middle"),
        ("M125 220V124", "close()", 115, 176, "end"),
        ("M515 124V220", "copied", 525, 176, "start")], [
        (515, 304, "middle", ["has the number, never closes it;", "stale when the owner closes"])])


def server_states():
    return states("states-server", "States of a SocketServer", 256, [
        ("box", 20, 70, 140, ["idle", "getPort() is 0"]),
        ("box", 240, 70, 140, ["listening", "isListening()"]),
        ("marked", 490, 70, 130, ["stopped", "descriptor open"])], [
        ("M90 26V70", "SocketServer()", 100, 48, "start"),
        ("M160 102H240", "listen()", 200, 92, "middle"),
        ("M55 134C45 184 135 184 125 134", "listen() fails", 90, 190, "middle"),
        ("M275 134C265 184 355 184 345 134", "accept()", 310, 190, "middle"),
        ("M380 102H490", "shutdownRead()", 435, 92, "middle"),
        ("M520 134C510 184 600 184 590 134", "accept() throws", 555, 190, "middle")], [
        (435, 122, "middle", ["also from", "another thread"]),
        (20, 222, "start", ["There is no way back: the descriptor is closed when the object ends.",
                            "shutdownReadWrite() stops as well; shutdownWrite() changes no state."])])


def thread_states():
    return states("states-thread", "States of a Thread", 380, [
        ("box", 230, 60, 180, ["new", "joinable, not running"]),
        ("box", 230, 180, 180, ["started", "joinable, running"]),
        ("other", 20, 296, 150, ["joined", "neither"]),
        ("marked", 230, 296, 180, ["stopped", "joinable, not running"]),
        ("other", 470, 296, 150, ["detached", "running"])], [
        ("M320 22V60", "Thread(runnable, delete)", 330, 42, "start"),
        ("M320 124V180", "start()", 330, 157, "start"),
        ("M230 212H95V296", "join() waits", 160, 202, "middle"),
        ("M410 212H545V296", "detach()", 480, 202, "middle"),
        ("M320 244V296", "stop()", 330, 275, "start"),
        ("M230 328H170", "join()", 200, 318, "middle")], [
        (20, 84, "start", ["The end of run() changes", "nothing: the state waits for", "join() or stop()."]),
        (440, 84, "start", ["Every thread is joined or", "detached once."])])


ALL = (layers, connection, item, address_record, socket_states, server_states, thread_states)


def draw_all(folder, only_compare):
    """Writes the pictures; or compares, and says which ones differ."""
    folder.mkdir(exist_ok=True)
    wrong = []
    for draw in ALL:
        picture = draw()
        path = folder / f"{picture.name}.svg"
        if only_compare:
            wrong += [path.name] * (not path.exists() or path.read_text() != picture.svg())
        else:
            path.write_text(picture.svg())
    if wrong:
        sys.exit(f"not as scripts/lib_manual draws them: {' '.join(wrong)}")
