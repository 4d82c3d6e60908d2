"""LightDM: its greeter, and sessions that it starts and brings to the front unasked."""
import steps


def suspend_brings_its_greeter_and_locks_the_session(machine):
    steps.brings_the_greeter(machine, "-suspend")


def suspended_again_its_greeter_is_used_again(machine):
    steps.uses_its_greeter_again(machine)


def a_user_with_a_password_is_asked_for_it_by_its_greeter(machine):
    steps.brings_the_greeter(machine, "-switchToUserID", "1002")
    machine.until_greeter(selected="carol")


def a_user_without_one_who_has_no_session_gets_one(machine):
    result = machine.switch("-switchToUserID", "1001")
    assert result.log == [], result
    machine.until_in_front("bob")
    machine.until_locked("ann")
    assert machine.greeters() == [], machine.describe()


def a_running_session_of_a_user_without_one_comes_to_the_front(machine):
    bob = machine.start_session_of("bob")
    machine.bring_to_front("ann")
    machine.unlock("ann")
    steps.goes_straight_to(machine, bob)


def a_guest_gets_a_guest_session(machine):
    steps.has_a_guest(machine)
    result = machine.switch("-switchToUserID", "1004")
    assert result.log == [], result
    machine.until_in_front("gus")
    machine.until_locked("ann")


def a_user_whom_the_policy_refuses_leaves_everything_as_it_is(machine):
    steps.leaves_everything_as_it_is_for_dana(machine)


def without_a_locker_suspend_brings_its_greeter_and_says_what_is_missing(machine):
    machine.take_away_lockers()
    steps.brings_the_greeter_without_a_lock(machine, "-suspend")


def without_a_locker_a_user_with_a_password_is_asked_for_it(machine):
    """LightDM, which is asked for the user, locks by itself: the tool has nothing to say of that."""
    machine.take_away_lockers()
    result = machine.switch("-switchToUserID", "1002")
    assert result.log == [], result
    machine.until_greeter(selected="carol")


def without_a_locker_a_user_without_a_password_gets_its_greeter_instead_of_a_session(machine):
    machine.take_away_lockers()
    steps.brings_the_greeter_without_a_lock(machine, "-switchToUserID", "1001")
    assert machine.session_of("bob") is None, machine.describe()


def without_a_locker_a_running_session_stays_behind_its_greeter(machine):
    machine.take_away_lockers()
    machine.start_session_of("bob")
    machine.bring_to_front("ann")
    steps.brings_the_greeter_without_a_lock(machine, "-switchToUserID", "1001")
    assert not machine.session_of("bob").is_active, machine.describe()
