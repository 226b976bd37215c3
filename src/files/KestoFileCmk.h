#pragma once

#include "PipeTuning.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

// The magic at the start of a recording file.
extern const QString cmkFileId;

// A recording file (.cmk): a 20-byte header (magic, version 1, XML size), an XML description
// of the tune and the calibration, then the raw audio, mono 16-bit signed little-endian PCM at
// recordingFrequency_Hz. A plain value; it only reads and writes, and reports failure by a bool
// and a message, never by an exception. Not shared between threads: each caller keeps its own.
class KestoFileCmk {
public:
    // The version number that this program writes as the recording's and the file's app
    // version. Readers take 0 to mean "not from a file", so it is never 0.
    static constexpr int kApplicationVersion = 8;

    KestoFileCmk() = default;

    const QByteArray& audioData() const { return mAudioData; }
    void setAudioData(const QByteArray& audioData) { mAudioData = audioData; }
    int recordingFrequency_Hz() const { return mRecordingFrequency_Hz; }
    void setRecordingFrequency_Hz(int recordingFrequency_Hz) { mRecordingFrequency_Hz = recordingFrequency_Hz; }
    const QString& tuneName() const { return mTuneName; }
    void setTuneName(const QString& tuneName) { mTuneName = tuneName; }
    const QString& tuneType() const { return mTuneType; }
    void setTuneType(const QString& tuneType) { mTuneType = tuneType; }
    const QString& composedBy() const { return mComposedBy; }
    void setComposedBy(const QString& composedBy) { mComposedBy = composedBy; }
    int timeSigNumerator() const { return mTimeSigNumerator; }
    void setTimeSigNumerator(int timeSigNumerator) { mTimeSigNumerator = timeSigNumerator; }
    int timeSigDenominator() const { return mTimeSigDenominator; }
    void setTimeSigDenominator(int timeSigDenominator) { mTimeSigDenominator = timeSigDenominator; }
    float bpm() const { return mBpm; }
    void setBpm(float bpm) { mBpm = bpm; }
    float timeShift_s() const { return mTimeShift_s; }
    void setTimeShift_s(float timeShift_s) { mTimeShift_s = timeShift_s; }
    // Chanter calibration: note key ("LG".."HA") to frequency in Hz.
    const std::map<std::string, float>& noteFrequencies() const { return mNoteFrequencies; }
    void setNoteFrequencies(const std::map<std::string, float>& noteFrequencies) { mNoteFrequencies = noteFrequencies; }
    int recordedAppVersion() const { return mRecordedAppVersion; }
    void setRecordedAppVersion(int recordedAppVersion) { mRecordedAppVersion = recordedAppVersion; }
    const QString& recordedTime() const { return mRecordedTime; }
    void setRecordedTime(const QString& recordedTime) { mRecordedTime = recordedTime; }
    const QString& recordedInstallId() const { return mRecordedInstallId; }
    void setRecordedInstallId(const QString& recordedInstallId) { mRecordedInstallId = recordedInstallId; }
    int appVersion() const { return mAppVersion; }
    void setAppVersion(int appVersion) { mAppVersion = appVersion; }
    const QString& fileCreationTime() const { return mFileCreationTime; }
    void setFileCreationTime(const QString& fileCreationTime) { mFileCreationTime = fileCreationTime; }
    const QString& fileCreationInstallId() const { return mFileCreationInstallId; }
    void setFileCreationInstallId(const QString& fileCreationInstallId)
    {
        mFileCreationInstallId = fileCreationInstallId;
    }
    // The audio size in bytes as the XML gave it; not what save writes.
    int audioDataSize() const { return mAudioDataSize; }
    void setAudioDataSize(int audioDataSize) { mAudioDataSize = audioDataSize; }

    // Number of whole 16-bit samples in audioData.
    int sampleCount() const { return mAudioData.size() / 2; }
    // audioData as samples in host byte order, for the analysis; a trailing odd byte is dropped.
    std::vector<int16_t> samples() const;
    // audioData from samples, stored little-endian.
    void setSamples(const std::vector<int16_t>& samples);
    double duration_s() const;

    // The calibration as a measured tuning; a missing note counts as 0 Hz, so it keeps its
    // harmonic ratio.
    PipeTuning chanterTuning() const;
    // noteFrequencies from the centres of the nine chanter notes of tuning.
    void setChanterTuning(const PipeTuning& tuning);
    // The calibration key of a chanter note ("LG".."HA"), the melody note's short name.
    static std::string calibrationKey(PipeTuning::ReferenceNote note);

    void clear();

    bool operator==(const KestoFileCmk& other) const;
    bool operator!=(const KestoFileCmk& other) const { return !(*this == other); }

    // The XML description, or a text beginning with "Error" when a calibration key is not a
    // valid element name.
    QString toXml() const;
    // Clears, then reads the fields from xml. False when the root is not KestoFileCmk or an
    // element is missing or unreadable; the fields then stay as read so far and error is
    // left alone.
    bool fromXml(QString xml, QString& error);

    // Writes the file through a temporary beside it, so an existing file is only replaced
    // by a complete one.
    bool save(QString path, QString& error) const;
    bool open(QString path, QString& error);
    // open on the file's bytes already in memory.
    bool openData(const QByteArray& data, QString& error);

private:
    QByteArray mAudioData;
    int mRecordingFrequency_Hz = 44100;
    QString mTuneName;
    QString mTuneType;
    QString mComposedBy;
    int mTimeSigNumerator = 4;
    int mTimeSigDenominator = 4;
    float mBpm = 72.0f;
    float mTimeShift_s = 0.0f;
    std::map<std::string, float> mNoteFrequencies;
    int mRecordedAppVersion = 0;
    QString mRecordedTime;
    QString mRecordedInstallId;
    int mAppVersion = 0;
    QString mFileCreationTime;
    QString mFileCreationInstallId;
    int mAudioDataSize = 0;
};
