"""The rules about rooms: what a tevanto_room lists, and which room may include which header of another."""
from rooms import EVERY_SYSTEM, SOURCE_KEYWORDS, USES_KEYWORDS, Offence, folder_of, is_in, name_of

# Area -> the other areas that it may include. An area is a top-level folder, one of the two systems, or what must not
# drag in the server that it stands beside: the message model, and the invites whose interface the server owns.
ALLOWED = {
    "core": [],
    "net": ["core"],
    "remote/message": ["core"],
    "remote/invites": ["core"],
    "control": ["core", "remote/message"],
    "screen": ["core", "net"],
    "p2p": ["core", "net", "remote/message", "remote/invites", "screen"],
    "remote": ["core", "net", "remote/message", "remote/invites", "control", "screen"],
    "platform/linux": ["core", "net", "remote/message", "control", "screen", "p2p"],
    "platform/macos": ["core", "net", "remote/message", "control", "screen", "p2p"],
    "app": ["core", "net", "remote/message", "remote/invites", "control", "screen", "p2p", "remote"],
    "phone": ["core", "net", "remote/message", "screen", "p2p"],
    "relay": ["core", "net"],
}
# Composition roots: the folders and main functions that put the adapters of a system together.
ROOT_FOLDERS = {
    "app/linux": ["platform/linux"],
    "app/ui/linux": ["platform/linux"],
    "app/macos": ["platform/macos"],
    "app/ui/macos": ["platform/macos"],
}
BOTH_SYSTEMS = ["platform/linux", "platform/macos"]
# What offers the display of one kind of server, and stands behind the interface in platform/linux/display.
DISPLAY_SERVERS = ("platform/linux/x11",)
# Room -> all that it may include of them: rooms, or single headers. Other rooms are not restricted.
BEFORE_DISPLAY_SERVERS = {
    "app/linux": ["platform/linux/x11/XServerReach.h", "platform/linux/x11/backend"],
    "platform/linux/display": [],
}
ROOT_FILES = {"phone/terminal/main.cpp": BOTH_SYSTEMS, "relay/main.cpp": BOTH_SYSTEMS}


def area_of(folder):
    """The longest area that the folder lies in, or None."""
    return max((area for area in ALLOWED if is_in(folder, area)), key=len, default=None)


def respects_display(folder, target):
    """Tells whether the room `folder` may include `target`, a room or a header, as far as display servers go."""
    if not any(is_in(target, server) for server in DISPLAY_SERVERS):
        return True
    allowed = [allowed for room, allowed in BEFORE_DISPLAY_SERVERS.items() if is_in(folder, room)]
    # A room that single headers of another are open to uses that room for their sake.
    return all(any(is_in(target, part) or (part.endswith(".h") and folder_of(part) == target) for part in parts)
               for parts in allowed)


def folder_may_use(folder, target_folder):
    area, target = area_of(folder), area_of(target_folder)
    roots = [system for root, systems in ROOT_FOLDERS.items() if is_in(folder, root) for system in systems]
    return target == area or target in ALLOWED[area] + roots


def file_may_include(source, header):
    if not respects_display(folder_of(source), header):
        return False
    if folder_may_use(folder_of(source), folder_of(header)):
        return True
    area, target = area_of(folder_of(source)), area_of(folder_of(header))
    main = BOTH_SYSTEMS if area == "app" and name_of(source) == "main.cpp" else ROOT_FILES.get(source, [])
    return target in main


def offences(tree):
    yield from tree.call_offences
    for folder, names in sorted(tree.folders.items()):
        if area_of(folder) is None:
            yield Offence(f"src/{folder}/{names[0]}", 1, "stands in a folder that the table of areas does not have")
    for room in tree.rooms.values():
        yield from list_offences(tree, room)
        yield from public_header_offences(tree, room)
        yield from uses_offences(tree, room)
    yield from include_offences(tree)
    yield from cycle_offences(tree)


def list_offences(tree, room):
    for word in room.repeated:
        yield Offence(room.file, word.line, f"names {word.value} twice")
    for word in room.stray:
        yield Offence(room.file, word.line, f'"{word.value}" stands under no keyword of tevanto_room')
    present = {name for name in tree.folders[room.path] if not name.endswith(".h")}
    listed = set()
    for word in room.words(*SOURCE_KEYWORDS):
        if word.value not in present:
            yield Offence(room.file, word.line, f"lists the source {word.value}, which this folder does not have")
        elif word.value in listed:
            yield Offence(room.file, word.line, f"lists the source {word.value} twice")
        listed.add(word.value)
    for name in sorted(present - listed):
        yield Offence(room.file, room.line, f"does not list the source {name}")
    for word in room.words("SEPARATE"):
        if word.value in present and word.value not in room.other_words:
            yield Offence(room.file, word.line, f"no other target of this file names {word.value}, which is SEPARATE")


def public_header_offences(tree, room):
    headers = [name for name in tree.folders[room.path] if name.endswith(".h")]
    words = room.words("PUBLIC_HEADERS")
    everything = next((word for word in words if word.value == "*"), None)
    if everything and len(words) > 1:
        yield Offence(room.file, everything.line, '"*" stands alone or not at all')
        return
    opened = [(name, everything) for name in headers] if everything else [(word.value, word) for word in words]
    seen = set()
    for name, word in opened:
        header = f"{room.path}/{name}"
        if name not in headers:
            yield Offence(room.file, word.line, f"lists the header {name}, which this folder does not have")
        elif name in seen:
            yield Offence(room.file, word.line, f"lists the header {name} twice")
        elif not tree.is_wanted_outside_its_room(header):
            yield Offence(room.file, word.line, f"opens {name}, which no other room includes")
        seen.add(name)


def uses_offences(tree, room):
    seen = set()
    for keyword in USES_KEYWORDS:
        needed = {folder_of(include.target) for name in tree.folders[room.path]
                  if keyword.removeprefix("USES") in room.systems_of(name)
                  for include in tree.includes[f"{room.path}/{name}"] if include.quoted}
        for word in room.words(keyword):
            if word.value not in tree.rooms:
                yield Offence(room.file, word.line, f'uses "{word.value}", which is no room')
            elif word.value in seen:
                yield Offence(room.file, word.line, f'uses "{word.value}" twice')
            elif not room_may_use(room.path, word.value):
                yield Offence(room.file, word.line, f'"{room.path}" may not use "{word.value}"')
            elif word.value not in needed and word.value != room.path:
                yield Offence(room.file, word.line, f'uses "{word.value}" and includes nothing of it')
            seen.add(word.value)


def room_may_use(path, used):
    area = area_of(path)
    return area is None or (folder_may_use(path, used) and respects_display(path, used))


def include_offences(tree):
    for source, includes in sorted(tree.includes.items()):
        for include in includes:
            if include.quoted:
                what = include_offence(tree, source, include.target)
                if what:
                    yield Offence("src/" + source, include.line, what)


def include_offence(tree, source, target):
    folder, target_folder = folder_of(source), folder_of(target)
    if target not in tree.headers:
        return f'"{target}" is not a header under src/'
    if folder == target_folder or area_of(folder) is None:
        return None
    if not file_may_include(source, target):
        return f'{folder} may not include "{target}"'
    room, other = tree.rooms.get(folder), tree.rooms.get(target_folder)
    if room is None or other is None:
        return None  # The missing call is an offence of its own.
    if not room.uses(name_of(source), target_folder):
        return f'includes "{target}", and its room does not use "{target_folder}"{on_this_system(room, name_of(source))}'
    if not other.publishes(name_of(target)):
        return f'"{target}" is private to its room'
    return None


def on_this_system(room, name):
    return "" if len(room.systems_of(name)) == len(EVERY_SYSTEM) else " on each system that the file is built for"


def cycle_offences(tree):
    """Each set of rooms that use one another is reported once, as one way round it."""
    edges = {path: [(word.value, word.line) for word in room.words(*USES_KEYWORDS) if word.value in tree.rooms]
             for path, room in tree.rooms.items()}
    reported = set()
    for start in sorted(edges):
        way = None if start in reported else shortest_way_round(edges, start)
        if way:
            reported.update(way)
            line = next(line for used, line in edges[start] if used == way[1])
            yield Offence(tree.rooms[start].file, line, "rooms use one another: " + " > ".join(way))


def shortest_way_round(edges, start):
    ways, seen = [[start]], set()
    while ways:
        way = ways.pop(0)
        for used, _ in edges[way[-1]]:
            if used == start:
                return way + [start]
            if used not in seen:
                seen.add(used)
                ways.append(way + [used])
    return None


def markdown(tree):
    """The table of what each room may include, as it stands in the documentation."""
    lines = ["| Room | May include |", "|---|---|"]
    for path, room in sorted(tree.rooms.items()):
        used = sorted((word.value, note) for keyword, note in zip(USES_KEYWORDS, ("", " (Linux)", " (macOS)"))
                      for word in room.words(keyword))
        lines.append(f"| `{path}` | " + (", ".join(f"`{name}`{note}" for name, note in used) or "nothing") + " |")
    return "\n".join(lines) + "\n"
