"""People log in at gatehall-greeter: what they type, and what they read on it."""
from gatehall_greeter import NOBODY_BY_ITSELF, PEOPLE, GatehallGreeter
from guarded import SENTENCES, Guarded
from policed import ACCESS_GROUP, DENY_LIST
from programs import session_environment
from system import run
from watch import Watch

PASSWORD = "Password"
ANNS, CAROLS = (PASSWORD, "anns"), (PASSWORD, "carols")
NEW_PASSWORD = "Quince-Jelly-74"


def _add_hanna(desktop):
    run("useradd", "--no-create-home", "--comment", "Hanna", "--password", "", "hanna")
    desktop.after(run, "userdel", "hanna")


def a_password_is_typed(desktop):
    greeter = GatehallGreeter(desktop)
    assert greeter.log_in("ann", ANNS) == "Success"
    desktop.until_in_front("ann")


def a_wrong_password_is_said_to_be_and_asked_for_again(desktop):
    greeter = GatehallGreeter(desktop)
    assert greeter.log_in("ann", (PASSWORD, "carols")) == "Authentication failure"
    greeter.until_shows("That is wrong. Please try again.", "Ann")
    assert [s.kind for s in desktop.sessions()] == ["greeter"], desktop.describe()
    greeter.answer("anns", PASSWORD)
    assert greeter.result("ann") == "Success"
    desktop.until_in_front("ann")


def an_account_without_a_password_is_asked_nothing(desktop):
    greeter = GatehallGreeter(desktop)
    assert greeter.log_in("bob") == "Success"
    desktop.until_in_front("bob")


def an_expired_password_is_changed_in_place(desktop):
    machine = Guarded(desktop)
    machine.set_password("bob", "bobs")
    run("chage", "--lastday", "0", "bob")
    greeter = GatehallGreeter(desktop)
    assert greeter.log_in("bob", (PASSWORD, "bobs"), ("Current password", "bobs"),
                          ("New password", NEW_PASSWORD), ("Retype new password", NEW_PASSWORD)
                          ) == "Success"
    desktop.until_in_front("bob")


def who_is_refused_is_marked_in_the_list_and_reads_why(desktop):
    machine = Guarded(desktop)
    machine.have(DENY_LIST)
    run("systemctl", "stop", "gatehalld.service")  # it reads at its start where directories are
    greeter = GatehallGreeter(desktop)
    greeter.until_shows("Erin", "may not log in")
    greeter.take("erin")
    greeter.until_shows("Erin", SENTENCES["denied by GUID"], without=("Guest",))
    assert greeter.has_begun_nothing()
    assert machine.decisions() == []
    greeter.press("Return")
    greeter.until_shows("Erin", "may not log in", "Guest")


def who_is_shut_out_leaves_the_list_while_it_is_on_the_screen(desktop):
    machine = Guarded(desktop)
    machine.have(DENY_LIST)
    greeter = GatehallGreeter(desktop)
    machine.have(ACCESS_GROUP)
    greeter.until_shows("Carol", without=("Ann", "Bob"))


def a_session_that_runs_is_returned_to(desktop):
    greeter = GatehallGreeter(desktop)
    assert greeter.log_in("ann", ANNS) == "Success"
    ann = desktop.until_in_front("ann")
    greeter.come()
    greeter.until_shows(*PEOPLE, "logged in")
    greeter.choose("ann")
    greeter.until_shows("Return")
    greeter.answer("anns", PASSWORD)
    assert greeter.result("ann") == "Success"
    assert desktop.until_in_front("ann").name == ann.name, desktop.describe()
    assert [s.name for s in desktop.sessions() if s.user == "ann"] == [ann.name], desktop.describe()


def a_guest_begins_the_display_managers_guest_session(desktop):
    desktop.write("/etc/gatehall/directory.toml", '[local]\nguests = ["gus"]\n')
    with desktop.without_password("gus"):
        greeter = GatehallGreeter(desktop)
        greeter.click("Guest")
        desktop.until_in_front("gus")


def somebody_who_is_not_in_the_list_types_the_name(desktop):
    greeter = GatehallGreeter(desktop, (NOBODY_BY_ITSELF, "greeter-show-manual-login=true"))
    greeter.click("Another")
    greeter.until_shows("User name", without=PEOPLE)
    greeter.type("carol")
    greeter.press("Return")
    greeter.until_begun("carol")
    greeter.answer("carols", PASSWORD)
    assert greeter.result("carol") == "Success"
    desktop.until_in_front("carol")


def a_hidden_list_has_the_name_typed(desktop):
    greeter = GatehallGreeter(desktop, (NOBODY_BY_ITSELF, "greeter-hide-users=true"),
                              shows=("User name",))
    assert not any(name in greeter.seen() for name in PEOPLE), greeter.seen()
    assert greeter.log_in("ann", ANNS) == "Success"
    desktop.until_in_front("ann")


def escape_goes_back_to_the_list_and_keeps_the_search(desktop):
    greeter = GatehallGreeter(desktop)
    greeter.choose("carol", "aro")
    greeter.until_shows("Carol", PASSWORD)
    greeter.press("Escape")
    greeter.until_shows("Carol", "aro", without=("Ann", "Bob", PASSWORD))
    greeter.press("Escape")
    greeter.until_shows(*PEOPLE)


def what_is_typed_stays_while_the_list_changes(desktop):
    watch = Watch(desktop)
    greeter = GatehallGreeter(desktop)
    greeter.choose("ann")
    greeter.until_shows("Ann", PASSWORD)
    greeter.type("an")
    run("usermod", "--comment", "Annabel", "ann")
    desktop.after(run, "usermod", "--comment", "Ann", "ann")
    _add_hanna(desktop)
    desktop.until(lambda: "hanna" in watch.names(), "hanna listed")
    greeter.until_shows("Annabel", PASSWORD)
    greeter.answer("ns", PASSWORD)
    assert greeter.result("ann") == "Success"
    desktop.until_in_front("ann")


def a_search_stays_while_the_list_changes(desktop):
    greeter = GatehallGreeter(desktop)
    greeter.type("ann")
    greeter.until_shows("Ann", without=("Bob", "Carol"))
    _add_hanna(desktop)
    greeter.until_shows("Ann", "Hanna", without=("Bob", "Carol"))


def a_session_that_is_left_is_locked_and_its_user_comes_back_by_the_password(desktop):
    greeter = GatehallGreeter(desktop, settings=())
    ann = desktop.session_of("ann")
    greeter.come(lambda: desktop.switch("-suspend"))
    greeter.until_shows(*PEOPLE)
    desktop.until_locked("ann")
    assert greeter.log_in("ann", ANNS) == "Success"
    assert desktop.until_in_front("ann").name == ann.name, desktop.describe()
    desktop.until(lambda: not desktop.session_of("ann").is_locked, "ann's session unlocked")


def a_switch_to_somebody_asks_for_their_password_at_once(desktop):
    greeter = GatehallGreeter(desktop, settings=())
    greeter.come(lambda: desktop.switch("-switchToUserID", "1002"))
    greeter.until_begun("carol")
    greeter.until_shows("Carol", without=("Ann", "Bob"))
    greeter.answer("carols", PASSWORD)
    assert greeter.result("carol") == "Success"
    desktop.until_in_front("carol")
    desktop.until_locked("ann")


def who_locks_the_screen_is_asked_for_the_password_at_once(desktop):
    greeter = GatehallGreeter(desktop, settings=())
    ann = desktop.session_of("ann")
    path = session_environment(ann)[b"XDG_SESSION_PATH"].decode()
    greeter.come(lambda: desktop.bus.call("org.freedesktop.DisplayManager", path,
                                          "org.freedesktop.DisplayManager.Session", "Lock"))
    greeter.until_begun("ann")
    greeter.answer("anns", PASSWORD)
    assert greeter.result("ann") == "Success"
    assert desktop.until_in_front("ann").name == ann.name, desktop.describe()


def a_screen_that_comes_again_has_nothing_left_of_who_typed_on_it(desktop):
    greeter = GatehallGreeter(desktop)
    first = desktop.in_front().name
    assert greeter.log_in("carol", CAROLS, typed="aro") == "Success"
    desktop.until_in_front("carol")
    greeter.come()
    assert desktop.in_front().name == first, desktop.describe()
    greeter.until_shows(*PEOPLE, without=(PASSWORD,))
