#pragma once

#include <QByteArray>
#include <QString>

#include <string>

namespace utils {

// Cents from f1 up to f2 on this system's cent scale: 3986.4460836 per decade, so an
// octave measures 1200.04. All tuning figures and tolerances are told in this scale.
float freqRatioToCents(float f1, float f2);

// The MIDI-style note number of a frequency (69 is 440 Hz), unrounded, in double.
double frequencyToNoteNumber(double frequency_Hz);
// The same, rounded half away from zero.
int frequencyToRoundedNoteNumber(double frequency_Hz);

// "C".."B" of abs(n) modulo 12; the double form rounds half away from zero first.
std::string midiNoteNumberToNoteName(int noteNumber);
std::string midiNoteNumberToNoteName(double noteNumber);

// floor if value is not above 0; else 20 log10(value) held to [floor, 0].
double linear2dB(double value, double floor);

std::string intToString(int value);

// Removes a file, or a directory tree as far as it can; true when everything went.
bool recursiveDelete(const QString& path);

// major = version / 1000 + 1, minor = version % 1000.
void getVersionComponents(int version, int& major, int& minor);

// MD5 of a file's contents; empty when the file cannot be read.
QByteArray getMd5Binary(QString path);
QString getMd5String(QString path);

} // namespace utils
