"""GDM: its greeter, which asks whoever wants to log in, and no session that it starts unasked."""
import re

import journal
import steps


def suspend_brings_its_greeter_and_locks_the_session(machine):
    steps.brings_the_greeter(machine, "-suspend")


def suspended_again_there_is_one_greeter(machine):
    """GDM takes a greeter away ten seconds after its terminal was left, or sooner."""
    steps.brings_the_greeter(machine, "-suspend")
    machine.bring_to_front("ann")
    machine.unlock("ann")
    steps.brings_the_greeter(machine, "-suspend")
    machine.until(lambda: len(machine.greeters()) == 1 and machine.has_greeter_in_front(),
                  "one greeter, in front")


def a_user_with_a_password_gets_its_greeter(machine):
    steps.brings_the_greeter(machine, "-switchToUserID", "1002")


def a_user_without_one_who_has_no_session_gets_its_greeter(machine):
    steps.brings_the_greeter(machine, "-switchToUserID", "1001")


def a_running_session_of_a_user_without_one_comes_to_the_front(machine):
    machine.start_with("bob")
    bob = machine.session_of("bob")
    machine.start_plain_session_of("ann", 9)
    machine.bring_to_front("ann")
    steps.goes_straight_to(machine, bob)


def a_running_session_that_it_does_not_know_comes_to_the_front(machine):
    bob = machine.start_plain_session_of("bob", 9)
    machine.bring_to_front("ann")
    steps.goes_straight_to(machine, bob)


def a_guest_gets_its_greeter(machine):
    steps.has_a_guest(machine)
    steps.brings_the_greeter(machine, "-switchToUserID", "1004")


def a_user_whom_the_policy_refuses_leaves_everything_as_it_is(machine):
    steps.leaves_everything_as_it_is_for_dana(machine)


def without_a_locker_suspend_brings_its_greeter_and_says_what_is_missing(machine):
    machine.take_away_lockers()
    steps.brings_the_greeter_without_a_lock(machine, "-suspend")


def without_a_locker_a_user_with_a_password_gets_its_greeter(machine):
    machine.take_away_lockers()
    steps.brings_the_greeter_without_a_lock(machine, "-switchToUserID", "1002")


def without_a_locker_a_running_session_stays_behind_its_greeter(machine):
    machine.take_away_lockers()
    machine.start_plain_session_of("bob", 9)
    machine.bring_to_front("ann")
    steps.brings_the_greeter_without_a_lock(machine, "-switchToUserID", "1001")
    assert not machine.session_of("bob").is_active, machine.describe()


def no_greeter_follows_a_session_that_came_to_the_front(machine):
    """GDM looks at each change of the terminal in front, and makes a greeter where it misses one."""
    bob = machine.start_plain_session_of("bob", 9)
    machine.bring_to_front("ann")
    begin = journal.cursor()
    steps.goes_straight_to(machine, bob)
    machine.until(lambda: re.search("VT changed from 2 to 9.*so ignoring", _said(begin), re.DOTALL),
                  "GDM has seen bob's session, and let it be")
    assert not re.search("transient display|login display .* requested", _said(begin)), _said(begin)


def _said(since):
    return "\n".join(text for _, _, text in journal.entries(since, "gdm3"))
