"""What PAM says while somebody logs in. A conversation is a function that makes a generator: it yields
what is said at once, a list of styles and texts, and gets the answer to the prompts in it (a list
of them if there are several); it returns PAM's result. None: PAM says nothing more. An empty list:
LightDM ends on the spot."""

# Styles and results, as pam_conv(3) and pam(3) number them.
SECRET, QUESTION, ERROR, INFORMATION = range(1, 5)
SUCCESS, PERM_DENIED, AUTH_ERR, MAXTRIES, ACCT_EXPIRED, CONV_ERR = 0, 6, 7, 11, 13, 19

PASSWORD = (SECRET, "Password: ")


def password(secret, *messages, result=SUCCESS):
    """Asks for the password; with the right one, says the messages and comes to the result."""
    def talk():
        if (yield [PASSWORD]) != secret:
            return AUTH_ERR
        for message in messages:
            yield [message]
        return result
    return talk


def nothing(*messages, result=SUCCESS):
    """Asks for nothing."""
    def talk():
        for message in messages:
            yield [message]
        return result
    return talk


def expired_password(secret, kept):
    """As pam_unix does; whoever types two different new passwords is told so, and asked again. The
    new one is put into the list."""
    def talk():
        if (yield [PASSWORD]) != secret:
            return AUTH_ERR
        yield [(ERROR, "You are required to change your password immediately (administrator enforced).")]
        if (yield [(SECRET, "Current password: ")]) != secret:
            return AUTH_ERR
        while True:
            new = yield [(SECRET, "New password: ")]
            if new == (yield [(SECRET, "Retype new password: ")]):
                kept.append(new)
                return SUCCESS
            yield [(ERROR, "Sorry, passwords do not match.")]
    return talk


def password_and_code(secret, code):
    """A second factor, whose code may be seen."""
    def talk():
        if (yield [PASSWORD]) != secret:
            return AUTH_ERR
        return SUCCESS if (yield [(QUESTION, "One-time code: ")]) == code else AUTH_ERR
    return talk


def code_alone(code):
    """Asks for a code that may be seen."""
    def talk():
        return SUCCESS if (yield [(QUESTION, "One-time code: ")]) == code else AUTH_ERR
    return talk


def two_at_once(first, second):
    """A module that asks for two things in one go."""
    def talk():
        yield [(INFORMATION, "Two things are asked."), (SECRET, "First: "), (SECRET, "Second: ")]
        return SUCCESS
    return talk


def silence():
    """PAM never answers."""
    yield None


def silence_after_password():
    yield [PASSWORD]
    yield None


def death_after_password():
    """LightDM ends while the password is looked at."""
    yield [PASSWORD]
    yield []
