#pragma once

#include "PipeTuneModel.h"

#include <string>

// The line ending of every line the writer produces.
inline constexpr char winEol[] = "\r\n";

// Writes a PipeTuneModel as Bagpipe Music Writer text. Holds only the tune's titles; any thread
// may use its own writer.
class BmwWriter {
public:
    virtual ~BmwWriter() = default;

    // UTF-8 texts for the title lines; empty by default.
    void setTuneName(const std::string& name) { tuneName = name; }
    void setTuneType(const std::string& type) { tuneType = type; }
    void setComposer(const std::string& name) { composer = name; }

    // The whole file: headers, then one text line per bar, "\r\n" line ends throughout.
    std::string write(const PipeTuneModel& model) const;

private:
    std::string generateHeaders() const;
    // The tokens of one item: "gg", "LAr_8", "B_4 'b"; empty (and logged) for an unknown name.
    std::string itemToBmw(const PipeTuneModel::Item& item) const;

    std::string tuneName;
    std::string tuneType;
    std::string composer;
};
