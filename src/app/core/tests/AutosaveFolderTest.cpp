#include "AutosaveFolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

TEST(AutosaveFolder, FileName)
{
    const QDateTime now(QDate(2024, 3, 7), QTime(9, 5, 4));
    EXPECT_EQ(AutosaveFolder::fileName("/a", now, "Mrs. MacPherson's Jig"),
        "/a/2024-Mar-07_09-05-04_Mrs MacPhersons Jig.cmk");
    EXPECT_EQ(AutosaveFolder::fileName("/a", now, ""), "/a/2024-Mar-07_09-05-04.cmk");
    EXPECT_EQ(AutosaveFolder::cleanedName("A/B\\C:D*E?_7 F"), "ABCDE7 F");
}

TEST(AutosaveFolder, RotateDeletesTheOldest)
{
    const struct {
        int files, count, deleted;
    } cases[] = {{100, 100, 1}, {5, 1, 5}, {2, 3, 0}, {4, 0, 0}};
    const QDateTime base(QDate(2024, 1, 1), QTime(12, 0), Qt::UTC);
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.files << " files, count " << c.count);
        QTemporaryDir dir;
        // Names run against age, so an order by name picks the wrong files; other files are older still.
        QStringList oldestFirst;
        for (int i = -1; i < c.files; ++i) {
            QFile file(dir.filePath(i < 0 ? "old.wav" : QString("%1.cmk").arg(c.files - i, 3, 10, QChar('0'))));
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
            ASSERT_TRUE(file.setFileTime(base.addSecs(60 * i), QFileDevice::FileModificationTime));
            if (i >= 0)
                oldestFirst.append(QFileInfo(file).absoluteFilePath());
        }
        EXPECT_EQ(AutosaveFolder::rotate(dir.path(), c.count), oldestFirst.mid(0, c.deleted));
        EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files).size(), c.files + 1 - c.deleted);
        EXPECT_TRUE(QFile::exists(dir.filePath("old.wav")));
    }
}
