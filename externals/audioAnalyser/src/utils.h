#pragma once

#include <QByteArray>
#include <QString>

#include <string>
#include <vector>

namespace utils {

// Cents from f1 up to f2 on this system's cent scale: 3986.4460836 per decade, so an
// octave measures 1200.04. All tuning figures and tolerances are told in this scale.
float freqRatioToCents(float f1, float f2);
// The frequency ratio that spans cents on the same scale (the inverse of freqRatioToCents).
double centsToFreqRatio(double cents);

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

// Signal functions of the pitch analysis. Any thread; they touch only their arguments.

// Subtracts the mean of the n samples, taken in double.
void removeDcOffset(float* samples, int n);
// (1 - cos(2 pi (i + 1) / (n + 1))) / 2 for i = 0..n-1: no coefficient is 0.
void generateHanningCoefficients(float* coefficients, int n);
// The direct sum of x[j] x[j + lag] for every lag. The length goes through a 16-bit
// signed integer, so an input of 32768 samples or more wraps (and may give nothing).
std::vector<float> autoCorrelationTimeDomain(const std::vector<float>& samples);

// Key maxima of a SNAC curve between first and the smaller of last and size - 1
// (exclusive): the highest local maximum of each positive region, in index order, into
// maxima. Returns the index of the highest of them, 0 when there are none.
int findSnacMaxima(const float* snac, int size, int first, int last, std::vector<int>& maxima);
// The first key maximum whose value is at least the larger of minimumPeak and
// k x the highest key maximum, or 0; bestIndex receives the highest key maximum's index.
// Preferring the shortest period among nearly equal peaks is what avoids octave errors.
int findSnacSubMaximum(const float* snac, int size, int first, int last, float k, float minimumPeak, int& bestIndex);

} // namespace utils
