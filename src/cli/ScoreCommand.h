#pragma once

#include <QStringList>

// ceolmark-cli score NOTES [tune options] [--bww FILE]: quantises a notes file, as transcribe
// writes it, into a score; without --bww the Bagpipe Music Writer text goes to stdout.
int runScoreCommand(const QStringList& arguments);
