"""Exceptions for run-time errors of the library, carrying the classic number and text."""


class Error(Exception):
    """A run-time error: ``number`` is the classic error number, ``description`` its text."""

    def __init__(self, number, description):
        super().__init__(number, description)
        self.number = number
        self.description = description

    def __str__(self):
        return f"error {self.number}: {self.description}"


class MemberError(Error, AttributeError):
    """438: the object has no member of that name."""


class ArgumentError(Error, TypeError):
    """A late-bound call whose arguments do not fit: 13 type mismatch,
    448 named argument not found, 449 argument not optional, 450 wrong
    number of arguments."""


class NotAvailableError(Error, NotImplementedError):
    """445: the member is part of the interface but not of this build."""


class OverflowValueError(Error, OverflowError):
    """6: a number outside the range of its type."""


_CLASSES = {438: MemberError, 13: ArgumentError, 448: ArgumentError, 449: ArgumentError,
            450: ArgumentError, 445: NotAvailableError, 6: OverflowValueError}

TYPE_MISMATCH = 13
NAMED_ARGUMENT_NOT_FOUND = 448
ARGUMENT_NOT_OPTIONAL = 449
WRONG_ARGUMENT_COUNT = 450
NO_SUCH_MEMBER = 438


def error_for(number, description):
    """The exception for a run-time error number."""
    return _CLASSES.get(number, Error)(number, description)
