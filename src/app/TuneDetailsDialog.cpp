#include "TuneDetailsDialog.h"

#include "TimeSignature.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QSpinBox>
#include <QVBoxLayout>

TuneDetailsDialog::TuneDetailsDialog(QWidget* parent)
    : QDialog(parent)
{
    setWindowTitle("Tune details");

    auto named = [](QWidget* editor, const char* name, const QString& tip) {
        editor->setObjectName(name);
        editor->setToolTip(tip);
        return editor;
    };
    mTuneNameEdit = new QLineEdit;
    mTuneTypeEdit = new QLineEdit;
    mComposerEdit = new QLineEdit;
    mTimeSignatureBox = new QComboBox;
    for (int value = TimeSignature4_4; value <= TimeSignature6_8; ++value)
        mTimeSignatureBox->addItem(toQString(TimeSignature(value)));
    mBpmBox = new QSpinBox;
    mBpmBox->setRange(20, 200);
    mRoundBox = new QCheckBox("Played Round");
    mTimeShiftBox = new QDoubleSpinBox;
    mTimeShiftBox->setRange(-100, 100);
    mTimeShiftBox->setSingleStep(0.01);
    mTimeShiftBox->setSuffix(" s");

    QFormLayout* form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    form->addRow("Tune name:", named(mTuneNameEdit, "tuneName", "The title of the tune"));
    form->addRow("Tune type:", named(mTuneTypeEdit, "tuneType", "The type of the tune (March/Strathspey/Reel etc)"));
    form->addRow("Composed/arranged by:",
        named(mComposerEdit, "composer", "Who composed and/or arranged the tune, and perhaps the date"));
    form->addRow("Time Signature:", named(mTimeSignatureBox, "timeSignature", "The time signature of the tune"));
    form->addRow("BPM:", named(mBpmBox, "bpm", "Beats per minute of the metronome and the score"));
    form->addRow(named(mRoundBox, "round", "The tune is played round, evenly: the score writes plainer note lengths"));
    form->addRow("Time Shift:", named(mTimeShiftBox, "timeShift", "Moves the notes against the beats, in seconds"));

    QDialogButtonBox* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &TuneDetailsDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &TuneDetailsDialog::reject);

    QVBoxLayout* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(buttons);
    setMinimumWidth(400);
}

void TuneDetailsDialog::initialise(const QString& name, const QString& type, const QString& composer, int timeSignature,
    int bpm, bool rounded, float timeShift_s)
{
    mTuneNameEdit->setText(name);
    mTuneTypeEdit->setText(type);
    mComposerEdit->setText(composer);
    mTimeSignatureBox->setCurrentIndex(
        timeSignature >= 0 && timeSignature < mTimeSignatureBox->count() ? timeSignature : 0);
    mBpmBox->setValue(bpm);
    mRoundBox->setChecked(rounded);
    mTimeShiftBox->setValue(timeShift_s);

    // The details are what the editors show, so a cancel gives them back clamped as shown.
    mTuneName = name;
    mTuneType = type;
    mComposer = composer;
    mTimeSignature = mTimeSignatureBox->currentIndex();
    mBpm = mBpmBox->value();
    mRounded = rounded;
    mTimeShift_s = float(mTimeShiftBox->value());
}

void TuneDetailsDialog::accept()
{
    mTuneName = mTuneNameEdit->text();
    mTuneType = mTuneTypeEdit->text();
    mComposer = mComposerEdit->text();
    mTimeSignature = mTimeSignatureBox->currentIndex();
    mBpm = mBpmBox->value();
    mRounded = mRoundBox->isChecked();
    mTimeShift_s = float(mTimeShiftBox->value());
    QDialog::accept();
}
