// The masked edit, typed into.

#include "dbcontrols/MaskEdit.h"

#include <gtest/gtest.h>

#include <QtCore/QCoreApplication>
#include <QtGui/QClipboard>
#include <QtGui/QGuiApplication>
#include <QtGui/QInputMethodEvent>
#include <QtTest/QTest>

namespace
{

using dbcontrols::MaskEdit;

TEST(MaskEdit, KeepsTheClassicRules)
{
    const QString date = "99/99/9999;1; ";
    const QString hour = "!90:00;1; ";
    const struct {
        const char *what;
        QString mask;
        QString typed; // < backspace, > delete from the start, ^ home
        QString text;
        bool acceptable;
        bool blank;
    } cases[] = {
        {"nothing", date, "", "  /  /    ", true, true},
        {"with slashes", date, "24/11/2026", "24/11/2026", true, false},
        {"without slashes", date, "24112026", "24/11/2026", true, false},
        {"one digit and a slash", date, "5/1/26", "5 /1 /26  ", true, false},
        {"blanks are kept", date, " 5/ 3/2024", " 5/ 3/2024", true, false},
        {"letters and dashes are not taken", date, "2a4-11x2026", "24/11/2026", true, false},
        {"more than fits", date, "241120261", "24/11/2026", true, false},
        {"backspace blanks and skips the literal", date, "2411<<<", "2 /  /    ", true, false},
        {"delete blanks and shifts nothing", date, "24112026^>>", " 4/11/2026", true, false},
        {"impossible dates are the program's business", date, "31022026", "31/02/2026", true, false},
        {"hour", "90:00;1; ", "930", "93:0 ", false, false},
        {"hour with a blank", "90:00;1; ", " 930", " 9:30", true, false},
        {"required digits", "90:00;1; ", "", "  :  ", false, true},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        MaskEdit edit;
        edit.setMask(c.mask);
        edit.setCursorPosition(0);
        for (const QChar character : c.typed) {
            if (character == u'<')
                QTest::keyClick(&edit, Qt::Key_Backspace);
            else if (character == u'>')
                QTest::keyClick(&edit, Qt::Key_Delete);
            else if (character == u'^')
                QTest::keyClick(&edit, Qt::Key_Home);
            else
                QTest::keyClick(&edit, character.toLatin1());
        }
        EXPECT_EQ(edit.text().toStdString(), c.text.toStdString());
        EXPECT_EQ(edit.isAcceptable(), c.acceptable);
        EXPECT_EQ(edit.isBlank(), c.blank);
    }
}

TEST(MaskEdit, TakesPastedDatesAndFinishedInput)
{
    const struct {
        const char *pasted;
        const char *text;
    } cases[] = {
        {"1/2/2024", "01/02/2024"},
        {"01022024", "01/02/2024"},
        {"1-2-2024", "01/02/2024"},
        {"hoy", "  /  /    "},
    };
    for (const auto &c : cases) {
        MaskEdit edit;
        edit.setMask("99/99/9999;1; ");
        QGuiApplication::clipboard()->setText(c.pasted);
        QTest::keyClick(&edit, Qt::Key_V, Qt::ControlModifier);
        EXPECT_EQ(edit.text(), c.text) << c.pasted;
    }
    MaskEdit edit;
    edit.setMask("99/99/9999;1; ");
    QInputMethodEvent composed;
    composed.setCommitString("á1");
    QCoreApplication::sendEvent(&edit, &composed);
    EXPECT_EQ(edit.text(), "1 /  /    ");
    edit.selectAll();
    QTest::keyClick(&edit, '2');
    EXPECT_EQ(edit.text(), "2 /  /    ") << "typing over a selection blanks it";
    edit.setMaskedText("no es una fecha");
    EXPECT_TRUE(edit.isBlank());
}

} // namespace
