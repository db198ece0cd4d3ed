"""Amounts of money, which apps store in the smallest unit of a currency."""

import decimal


def _digits(currency, table):
    return int(table.get(currency, "2"))


def amount(values, table):
    """Units and currency code as a decimal amount; table gives the digits of a currency."""
    units, currency = values
    digits = _digits(currency, table)
    number = decimal.Decimal(int(units)).scaleb(-digits)
    return "{:.{}f} {}".format(number, digits, currency)


def amount_in(value, currency, table):
    """The same for stores that know one currency only."""
    return amount((value, currency), table)


def direction(value):
    return "out" if int(value) < 0 else "in"
