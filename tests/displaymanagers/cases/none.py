"""Without a display manager: what needs one is refused, and the log says so."""
import steps
from programs import SWITCH


def suspend_is_refused(machine):
    _is_refused(machine, "-suspend")


def a_user_with_a_password_is_refused(machine):
    _is_refused(machine, "-switchToUserID", "1002")


def a_user_without_one_who_has_no_session_is_refused(machine):
    _is_refused(machine, "-switchToUserID", "1001")


def a_guest_is_refused(machine):
    steps.has_a_guest(machine)
    _is_refused(machine, "-switchToUserID", "1004")


def a_running_session_of_a_user_without_one_comes_to_the_front(machine):
    bob = machine.start_plain_session_of("bob", 9)
    machine.bring_to_front("ann")
    steps.goes_straight_to(machine, bob)


def a_caller_in_no_session_is_refused_and_the_session_in_front_is_unlocked_again(machine):
    machine.start_plain_session_of("bob", 9)
    machine.bring_to_front("ann")
    result = machine.run_tool([SWITCH, "-switchToUserID", "1001"], "ann")
    assert any("ActivateSession" in line for line in result.log), result
    assert machine.has_in_front("ann"), machine.describe()
    machine.until(lambda: not machine.session_of("ann").is_locked, "ann's session unlocked")


def a_user_whom_the_policy_refuses_leaves_everything_as_it_is(machine):
    steps.leaves_everything_as_it_is_for_dana(machine)


def without_a_locker_a_running_session_is_refused(machine):
    machine.take_away_lockers()
    machine.start_plain_session_of("bob", 9)
    machine.bring_to_front("ann")
    result = machine.switch("-switchToUserID", "1001")
    assert "Nobody locks session" in result.log[0], result
    assert "no display manager" in result.log[-1], result
    assert machine.has_in_front("ann"), machine.describe()


def _is_refused(machine, *words):
    result = machine.switch(*words)
    assert len(result.log) == 1 and "no display manager" in result.log[0], result
    assert machine.has_in_front("ann"), machine.describe()
