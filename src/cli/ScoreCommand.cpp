#include "ScoreCommand.h"

#include "CommandLine.h"
#include "NotesTable.h"
#include "PictureOptions.h"
#include "TuneOptions.h"

#include <cstdio>

int runScoreCommand(const QStringList& arguments)
{
    const QString command = "score";
    QCommandLineParser parser;
    parser.setApplicationDescription("Quantises a notes file into bars and beats and writes the score as a Bagpipe "
                                     "Music Writer file, as the application's \"Save as...\" does.");
    parser.addPositionalArgument("NOTES", "A notes file as 'ceolmark-cli transcribe' writes it.");
    TuneOptions tune;
    tune.addTo(parser);
    PictureOptions pictures;
    pictures.addTo(parser);
    int exitCode = 0;
    if (!CommandLine::parse(parser, command, arguments, 1, exitCode))
        return CommandLine::withUsage(parser, command, exitCode);
    QString error;
    if (!tune.read(parser, error) || !pictures.read(parser, error))
        return CommandLine::withUsage(parser, command, CommandLine::fail(command, error, CommandLine::BadUsage));

    const QString path = parser.positionalArguments().first();
    NoteMap melody, grace;
    if (!NotesTable::read(path, melody, grace, error))
        return CommandLine::fail(command, path + ": " + error, CommandLine::BadInput);

    TuneOptions::Beat beat;
    const PipeTuneModel model = tune.quantize(melody, grace, &beat);
    if (pictures.wanted() && !pictures.write(tune, model, melody, grace, beat, error))
        return CommandLine::fail(command, error, CommandLine::OutputFailed);
    if (tune.bwwPath().isEmpty() && !pictures.wanted()) {
        const QByteArray text = tune.bwwText(model);
        std::fwrite(text.constData(), 1, size_t(text.size()), stdout);
        return CommandLine::Success;
    }
    if (!tune.bwwPath().isEmpty() && !tune.writeBww(model, tune.bwwPath(), error))
        return CommandLine::fail(command, tune.bwwPath() + ": " + error, CommandLine::OutputFailed);
    return CommandLine::Success;
}
