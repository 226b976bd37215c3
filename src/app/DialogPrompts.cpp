#include "DialogPrompts.h"

#include <QFileDialog>
#include <QMessageBox>

void DialogPrompts::warning(QWidget* parent, const QString& title, const QString& text)
{
    QMessageBox::warning(parent, title, text);
}

QString DialogPrompts::getSaveFileName(
    QWidget* parent, const QString& caption, const QString& dir, const QString& filter, QString* selectedFilter)
{
    return QFileDialog::getSaveFileName(parent, caption, dir, filter, selectedFilter);
}

QString DialogPrompts::getOpenFileName(
    QWidget* parent, const QString& caption, const QString& dir, const QString& filter)
{
    return QFileDialog::getOpenFileName(parent, caption, dir, filter);
}
