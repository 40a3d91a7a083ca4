// SPDX-License-Identifier: GPL-3.0-or-later
// Writes the seed inputs of the targets that read replies or displayed text, most of them from the
// scripted dialogues of the tests.
// Usage: fuzzseeds FOLDER
#include "tests/fuzz/replytable.h"
#include "tests/kit/devicereplies.h"
#include "tests/kit/fileio.h"
#include "tests/kit/jobdialogue.h"

#include <QtCore/QDir>

namespace {

void write(const QString &folder, const QByteArray &name, const QByteArray &bytes)
{
    QDir().mkpath(folder);
    if (!FileIo::write(folder + QLatin1Char('/') + latin1(name), bytes)) {
        qFatal("%s can't be written", name.constData());
    }
}

QByteArray prefix(const QVector<int> &bytes)
{
    QByteArray result;
    std::copy(bytes.begin(), bytes.end(), std::back_inserter(result));
    return result;
}

// Each reply for each function, although most functions don't recognise it.
void writeReplies(const QString &folder, const QByteArrayList &replies)
{
    for (int function = 0; function < ReplyTable::rows().size(); ++function) {
        for (int i = 0; i < replies.size(); ++i) {
            write(folder, QByteArray::number(function) + '-' + QByteArray::number(i),
                  prefix({function}) + replies.at(i));
        }
    }
}

void writeJobs(const QString &folder, const QVector<JobDialogue> &dialogues,
               const QByteArrayList &replies)
{
    for (int job = 0; job < dialogues.size(); ++job) {
        const QByteArray reply = replies.at(job);
        const QByteArray otherReply = replies.at((job + 7) % dialogues.size());
        for (const int plan : {0x00, 0x01, 0x42, 0x80, 0xc2}) {
            write(folder, QByteArray::number(job) + '-' + QByteArray::number(plan),
                  prefix({job, plan}) + reply + otherReply);
        }
    }
}

void writeLogRecords(const QString &folder)
{
    const char titles[] = "TIME,CO2,,T";
    const char record[] = "2017-11-13T10:20:30,400.5,-2,1e3";
    write(folder, "titles", prefix({0, 0}) + logTitlesReply(latin1(titles)).toLatin1());
    write(folder, "values",
          prefix({1, 12}) + logRowReply(12, latin1("00012"), latin1(record)).toLatin1());
    write(folder, "titles-record", prefix({2, 3}) + titles);
    write(folder, "values-record", prefix({3, 255}) + record);
    write(folder, "unusual-record", prefix({3, 1}) + ",nan,inf,0x1,#12");
    write(folder, "checksum", prefix({4, 0}) + record);
}

void writeEepromBlocks(const QString &folder)
{
    const QByteArray block = consecutiveBytes(0);
    write(folder, "block", prefix({0, 3, 255}) + block);
    write(folder, "digits", prefix({1, 0, 7}) + block.toHex());
    write(folder, "unusual-digits", prefix({1, 0, 7}) + "0xg f+1-1\r\nDone\r\n00");
    write(folder, "text",
          prefix({2, 0, 7}) + eepromBlockReply(7, latin1(block.toHex())).toLatin1());
}

void writeDisplayText(const QString &folder)
{
    write(folder, "markup", "<b>KVT&amp;100</b>");
    write(folder, "letters", "\xC3\x85\xE5\xA4\xA7\xF0\x9F\x8C\xAB &File");
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc != 2) {
        qFatal("Usage: fuzzseeds FOLDER");
    }
    const QString folder = QString::fromLocal8Bit(argv[1]);
    const QVector<JobDialogue> dialogues = allDialogues();
    QByteArrayList replies;
    for (const JobDialogue &dialogue : dialogues) {
        replies << (dialogue.reply + dialogue.textAfterReply).toLatin1();
    }
    writeReplies(folder + latin1("/replies"),
                 replies
                     + QByteArrayList{"\r\n$ show list3\r\nshow: list3=abc def\r\n$ ",
                                      "\r\n$ set list12=x\r\nset: list12=x\r\n$ ",
                                      "meas\nshow: meas=1\r\n$ "});
    writeJobs(folder + latin1("/jobs"), dialogues, replies);
    writeLogRecords(folder + latin1("/logrecords"));
    writeEepromBlocks(folder + latin1("/eepromblock"));
    writeDisplayText(folder + latin1("/displaytext"));
    return 0;
}
