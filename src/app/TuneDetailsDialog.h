#pragma once

#include <QDialog>
#include <QString>

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QLineEdit;
class QSpinBox;

// The details of the tune on the score (name, type, composer) and how its notes are put into
// bars (time signature, tempo, played round, time shift), in one form. initialise, exec, and
// on acceptance the getters give the edited details; until then, and after a cancel, the ones
// given to initialise. Editor objectNames: tuneName, tuneType, composer, timeSignature, bpm,
// round, timeShift. Interface thread only.
class TuneDetailsDialog : public QDialog {
    Q_OBJECT

public:
    explicit TuneDetailsDialog(QWidget* parent = nullptr);

    // timeSignature: the TimeSignature value 0..4 (AppSettings::timeSignature), 0 if outside;
    // bpm: 20..200 and timeShift_s: -100..100, clamped to those.
    void initialise(const QString& name, const QString& type, const QString& composer, int timeSignature, int bpm,
        bool rounded, float timeShift_s);

    QString tuneName() const { return mTuneName; }
    QString tuneType() const { return mTuneType; }
    QString composer() const { return mComposer; }
    int timeSignature() const { return mTimeSignature; }
    int bpm() const { return mBpm; }
    bool isRounded() const { return mRounded; }
    float timeShift_s() const { return mTimeShift_s; }

public slots:
    // Copies the editors into the details, then closes the dialog.
    void accept() override;

private:
    QLineEdit* mTuneNameEdit = nullptr;
    QLineEdit* mTuneTypeEdit = nullptr;
    QLineEdit* mComposerEdit = nullptr;
    QComboBox* mTimeSignatureBox = nullptr;
    QSpinBox* mBpmBox = nullptr;
    QCheckBox* mRoundBox = nullptr;
    QDoubleSpinBox* mTimeShiftBox = nullptr;

    QString mTuneName;
    QString mTuneType;
    QString mComposer;
    int mTimeSignature = 0;
    int mBpm = 72;
    bool mRounded = false;
    float mTimeShift_s = 0.0f;
};
