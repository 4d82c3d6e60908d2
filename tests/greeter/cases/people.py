"""The list: who stands in it, how, and what becomes of it while the machine changes."""
import shutil
import subprocess

from stage import EXAMPLES
from world import mobile, refusing, user, world_of

REFUSED = "You may not log in on this computer: your account is excluded."
ANN = user("ann", 1000)
BOB = user("bob", 1001)
ERIN = mobile("erin", 1004)
DENIED = {"preferences": refusing(1004)}
ALLOWED = {"preferences": refusing()}
FACE = "#0fa3b1"

# What is behind initials, as people/Names.cpp has it.
INITIALS = ("#3c6fb4", "#2c7f75", "#8455a8", "#b5523b", "#4f7d33", "#b0487e", "#5a62be", "#96691c",
            "#3b7c9b", "#77666b")


def _until_faces(stage, *colours):
    """Waits until each row that is whole on the screen has a face of one of the colours, which a good
    half of such a circle shows."""
    def rows():
        places = [stage.readable.place(thing) for thing in stage.things()
                  if thing.role == "list item" and stage.is_on_screen(thing)]
        return [place for place in places if place[1] > 0 and place[1] + place[3] <= stage.screen.height]

    def are_there():
        shown = rows()
        return shown and stage.dots(*colours) >= 800 * (len(shown) - 1)

    stage.until(are_there, f"faces in {colours}")


def everybody_stands_in_it_with_marks_and_hours(stage):
    stage.begin(size=(1024, 1000))
    stage.until_rows("Ann Lee, ann, in front", "Bob Ray, bob, until 20:00",
                     "Carol Wilhelmina Q. Featherstonehaugh-Cholmondeley, carol",
                     "Erin Walsh, erin, logged in", "Ольга Петровна Иванова, olga", "ליאת כהן, liat",
                     "طارق حداد, tariq, logged in", "मीना शर्मा, mina, from Sunday 9:00", "李晓明, xiaoming")


def it_follows_what_happens_on_the_machine(stage):
    carols = {"id": 1, "userID": 1005, "userName": "carol", "loginDone": True}
    stage.begin(world_of(ANN, BOB, sessions={"current": 1, "list": [carols]}))
    stage.until_rows("Ann", "Bob")
    stage.world.add(RecordName="abel", UniqueID=1600, FullName="Abel",
                    GUID="57A6E000-0000-4000-8000-000000001600")
    stage.until_rows("Abel", "Ann", "Bob")
    stage.world.happen(changeUser={"name": "ann", "attributes": {"FullName": "Zora"}})
    stage.until_rows("Abel", "Zora", "Bob")  # the next list that is built is sorted
    stage.world.happen(openSession={"id": 3, "userID": 1001, "userName": "bob", "loginDone": True})
    stage.until_rows("Abel", "Bob, bob, logged in", "Zora")
    stage.world.happen(closeSession=3)
    stage.world.happen(removeUser={"name": "abel"})
    stage.until_rows("Bob", "Zora")
    stage.until(lambda: "logged in" not in stage.rows()[0], "bob to be logged out")


def who_is_selected_stays_so_while_others_come_and_go(stage):
    stage.begin(world_of(ANN, BOB, user("carol", 1002)))
    stage.until_rows("Ann", "Bob", "Carol")
    stage.until_focused(role="list item")
    stage.screen.press("Down")
    stage.until_selected("Bob")
    stage.world.add(RecordName="abel", UniqueID=1600, FullName="Abel",
                    GUID="57A6E000-0000-4000-8000-000000001600")
    stage.until_rows("Abel", "Ann", "Bob", "Carol")
    stage.until_selected("Bob")
    stage.world.happen(removeUser={"name": "ann"})
    stage.until_rows("Abel", "Bob", "Carol")
    stage.until_selected("Bob")


def whoever_came_back_selects_another_and_keeps_them(stage):
    carols = {"id": 1, "userID": 1005, "userName": "carol", "loginDone": True}
    stage.begin(world_of(ANN, BOB, sessions={"current": 1, "list": [carols]}))
    stage.until_rows("Ann", "Bob")
    stage.until_focused("Ann", "list item")
    stage.screen.press("Return")
    stage.until_focused("Password")
    stage.screen.press("Escape")
    stage.until_focused("Ann", "list item")
    stage.screen.press("Down")
    stage.until_selected("Bob")
    stage.world.happen(openSession={"id": 3, "userID": 1000, "userName": "ann", "loginDone": True})
    stage.until_rows("Ann, ann, logged in", "Bob")
    stage.until_selected("Bob")


def any_part_of_a_name_in_any_script_finds(stage):
    stage.begin()
    stage.until_shows("Ann Lee")
    for typed, found in (("eatherst", "Carol"), ("XIAO", "李晓明"), ("петр", "Ольга"), ("晓", "李晓明"),
                         ("حداد", "طارق"), ("כהן", "ליאת"), ("शर्मा", "मीना"), ("wals er", "Erin")):
        stage.search(typed)
        stage.until_rows(found)
        stage.screen.press("ctrl+a", "BackSpace")
        stage.until_shows("Ann Lee")


def what_is_typed_behind_a_cleared_search_finds(stage):
    stage.begin(world_of(ANN, BOB))
    stage.until_focused("Ann", "list item")
    for clears in ("Escape", "BackSpace"):
        stage.screen.type("b")
        stage.until_rows("Bob")
        stage.screen.press(clears, "a", "n", "n")
        stage.until_typed("ann")
        stage.until_rows("Ann")
        stage.screen.press("Escape")
        stage.until_rows("Ann", "Bob")
        stage.until_focused(role="list item")


def nobody_found_is_said(stage):
    stage.begin()
    stage.until_shows("Ann Lee")
    stage.search("qqq")
    stage.until_shows("Nobody found for “qqq”")


def who_may_not_log_in_is_shown_as_such_with_the_reason(stage):
    stage.begin(world_of(ANN, ERIN, **DENIED))
    stage.until_rows("Ann, ann", f"Erin, erin, may not log in, {REFUSED}")
    assert "may not" not in stage.rows()[0], stage.rows()
    stage.until_focused(role="list item")
    stage.screen.press("Down")
    stage.until_selected("Erin")
    stage.until_shows(REFUSED, role="label")


def who_may_not_log_in_is_hidden_where_the_settings_say_so(stage):
    stage.begin(world_of(ANN, ERIN, **DENIED), settings='refused-users = "hide"\n')
    stage.until_rows("Ann")
    stage.world.happen(**ALLOWED)
    stage.world.happen(changeUser={"name": "erin", "attributes": {"FullName": "Erina"}})
    stage.until_rows("Ann", "Erina")


def where_the_refused_are_hidden_and_all_are_nobody_is_shown(stage):
    stage.begin(world_of(ERIN, **DENIED), settings='refused-users = "hide"\n')
    stage.until_shows("Nobody is shown")


def a_policy_that_changes_is_followed_when_the_list_does(stage):
    stage.begin(world_of(ANN, ERIN))
    stage.until_rows("Ann", "Erin")
    stage.world.happen(**DENIED)
    stage.world.add(RecordName="carol", UniqueID=1602, FullName="Carol",
                    GUID="57A6E000-0000-4000-8000-000000001602")
    stage.until_rows("Ann, ann", "Carol, carol", "Erin, erin, may not")


def a_policy_that_changes_is_followed_before_long_without_the_list(stage):
    stage.begin(world_of(ANN, ERIN))
    stage.until_rows("Ann", "Erin")
    stage.world.happen(**DENIED)
    stage.until_rows("Ann, ann", "Erin, erin, may not")


def nobody_is_said(stage):
    stage.begin(world_of())
    stage.until_shows("Nobody is shown")


def one_user_is_a_list_as_well(stage):
    stage.begin(world_of(ANN))
    stage.until_focused("Ann", "list item")
    stage.screen.press("Return")
    stage.until_focused("Password")


def a_new_picture_is_shown_in_place_of_the_former_one(stage):
    picture, new = stage.folder / "ann.png", stage.folder / "new.png"
    for file, colour in ((picture, "#204080"), (new, "#a04020")):
        subprocess.run(["convert", "-size", "96x96", f"xc:{colour}", file], check=True)
    stage.begin(world_of(user("ann", 1000, Picture=str(picture)), BOB))
    stage.until_rows("Ann", "Bob")
    row = stage.find("Ann", "list item")
    left, top, _, height = stage.readable.place(row)

    def face():
        shot = stage.folder / "face.png"
        stage.screen.picture(shot)
        place = f"%[hex:p{{{left + 45},{top + height // 2}}}]"
        return subprocess.run(["convert", shot, "-format", place, "info:"], check=True,
                              capture_output=True, text=True).stdout.strip()

    stage.until(lambda: face().startswith("204080"), "the picture")
    new.rename(picture)
    stage.until(lambda: face().startswith("A04020"), "the new picture")


def two_thousand_users_have_pictures(stage):
    faces = stage.folder / "faces"
    faces.mkdir()
    picture = stage.folder / "face.png"
    subprocess.run(["convert", "-size", "64x64", f"xc:{FACE}", picture], check=True)
    for number in range(2000):
        (faces / f"{number}.png").symlink_to(picture) if number % 2 else \
            shutil.copy(picture, faces / f"{number}.png")
    stage.begin(world_of(*(user(f"user{number:04}", 2000 + number,
                                Picture=str(faces / f"{number}.png")) for number in range(2000))))
    stage.until_selected("User0000")
    _until_faces(stage, FACE)
    stage.screen.press("Down", "End")
    stage.until_selected("User1999")
    _until_faces(stage, FACE)
    stage.screen.press("Home")
    stage.until_selected("User0000")
    _until_faces(stage, FACE)


def ten_thousand_accounts_are_searched_and_scrolled(stage):
    stage.begin(world_of(*(user(f"user{number:05}", 2000 + number) for number in range(10_000))))
    stage.until_selected("User00000")
    stage.search("7654")
    stage.until_rows("User07654")
    stage.screen.press("ctrl+a", "BackSpace")
    stage.until_shows("User00001")
    stage.screen.press("Down", "End")
    stage.until_selected("User09999")


def pictures_that_are_hostile_leave_their_owners_initials(stage):
    bad = stage.folder / "bad"
    bad.mkdir()
    good = (EXAMPLES / "pictures/sunflower.png").read_bytes()
    (bad / "cut.png").write_bytes(good[:200])
    (bad / "noise.png").write_bytes(b"\x89PNG\r\n\x1a\n" + bytes(range(256)) * 40)
    # A picture that is a gigabyte once it is unpacked: 16,384 dots in each direction.
    header = b"IHDR" + (16384).to_bytes(4, "big") * 2 + b"\x08\x06\x00\x00\x00"
    import zlib
    (bad / "huge.png").write_bytes(good[:12] + header + zlib.crc32(header).to_bytes(4, "big")
                                   + good[33:])
    (bad / "endless.png").symlink_to("/dev/zero")
    (bad / "folder.png").mkdir()
    (bad / "shape.png").write_text("<svg xmlns='http://www.w3.org/2000/svg'><image href='/etc/passwd'/></svg>")
    subprocess.run(["mkfifo", bad / "pipe.png"], check=True)
    names = ("cut", "endless", "folder", "huge", "noise", "pipe", "shape", "gone")
    stage.begin(world_of(*(user(name, 1700 + number, Picture=str(bad / f"{name}.png"))
                           for number, name in enumerate(sorted(names)))))
    stage.until_rows(*(name.title() for name in sorted(names)))
    _until_faces(stage, *INITIALS)
    stage.choose("noise", "Noise")
    stage.until_focused("Password")
