#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QJsonArray>
#include <QString>

// One line of an instrument window as the message published for it:
// {"time": ISO 8601 with milliseconds and the UTC offset, "driver": name,
// "text": the line, "cells": the spreadsheet cells of that row}. The cells
// are the line with its control-code names taken back to bytes, split at TAB,
// as the spreadsheet would get them; a cell that is a number is a JSON number.
class CReadingJson
{
public:
    // line: the shown bytes (code page, no line end).
    static QByteArray Make(const QDateTime& time, const QString& driver, const QByteArray& line);
    static QJsonArray Cells(const QByteArray& line);
    // A number as a spreadsheet reads one ("12", "-0.5", "1e3", blanks
    // around); ok false for anything else.
    static double Number(const QByteArray& cell, bool& ok);
};
