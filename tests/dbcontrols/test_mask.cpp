// The masked edit, typed into.

#include "dbcontrols/MaskEdit.h"

#include <gtest/gtest.h>

#include <functional>

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

// Whatever a desktop binds to a key, and whatever reaches the line edit without one.
TEST(MaskEdit, TheTextKeepsTheLengthOfItsMask)
{
    const QString mask = "99/99/9999;1; ";
    const auto check = [](MaskEdit &edit, const std::string &what) {
        ASSERT_EQ(edit.text().size(), 10) << what;
        for (const int place : {2, 5})
            EXPECT_EQ(edit.text().at(place), u'/') << what;
        edit.deselect();
        edit.setCursorPosition(0);
        QTest::keyClick(&edit, '7');
        EXPECT_EQ(edit.text().front(), u'7') << what;
        EXPECT_EQ(edit.text().size(), 10) << what;
    };
    QList<int> keys{Qt::Key_Backspace, Qt::Key_Delete, Qt::Key_Insert, Qt::Key_F14,  Qt::Key_F16,
                    Qt::Key_F18,       Qt::Key_F20,    Qt::Key_Left,   Qt::Key_Home, Qt::Key_End,
                    Qt::Key_Cut,       Qt::Key_Paste,  Qt::Key_Undo,   Qt::Key_Clear};
    for (int key = Qt::Key_Space; key <= Qt::Key_QuoteLeft; ++key)
        keys << key;
    const Qt::KeyboardModifiers modifiers[] = {
        Qt::NoModifier,
        Qt::ShiftModifier,
        Qt::ControlModifier,
        Qt::AltModifier,
        Qt::MetaModifier,
        Qt::ControlModifier | Qt::ShiftModifier,
        Qt::ControlModifier | Qt::AltModifier,
    };
    QGuiApplication::clipboard()->setText("31");
    for (const int key : keys) {
        for (const auto held : modifiers) {
            for (const bool selected : {false, true}) {
                MaskEdit edit;
                edit.setMask(mask);
                edit.setMaskedText("24/11/2026");
                edit.setCursorPosition(4);
                if (selected)
                    edit.setSelection(1, 6);
                const QString letter = key < 0x100 ? QString(QChar(key)) : QString();
                QKeyEvent press(QEvent::KeyPress, key, held, letter);
                QCoreApplication::sendEvent(&edit, &press);
                check(edit, "key " + std::to_string(key) + " with " + std::to_string(held.toInt()));
            }
        }
    }
    // The line edit's own commands, which X11's keys (Ctrl+U, Ctrl+K), aids for the blind and a text dragged
    // away call.
    const struct {
        const char *what;
        std::function<void(MaskEdit &)> command;
        const char *text;
    } commands[] = {
        {"clear", [](MaskEdit &edit) { edit.clear(); }, "  /  /    "},
        {"cut", [](MaskEdit &edit) { edit.cut(); }, "2 /  / 026"},
        {"delete", [](MaskEdit &edit) { edit.del(); }, "2 /  / 026"},
        {"undo",
         [](MaskEdit &edit) {
             edit.clear();
             edit.undo();
         },
         "  /  /    "},
        {"end",
         [](MaskEdit &edit) {
             edit.end(true);
             edit.del();
         },
         "2 /  /    "},
        {"backspace",
         [](MaskEdit &edit) {
             edit.deselect();
             edit.setCursorPosition(3);
             edit.backspace();
         },
         "24/11/2026"},
        {"insert", [](MaskEdit &edit) { edit.insert("9"); }, "2 /  / 026"},
        {"set", [](MaskEdit &edit) { edit.setText("1"); }, "  /  /    "},
        {"composed",
         [](MaskEdit &edit) {
             QInputMethodEvent event("12", {});
             event.setCommitString("3", -1, 2);
             QCoreApplication::sendEvent(&edit, &event);
         },
         "23/  / 026"},
    };
    for (const auto &one : commands) {
        MaskEdit edit;
        edit.setMask(mask);
        edit.setMaskedText("24/11/2026");
        edit.setSelection(1, 6);
        one.command(edit);
        EXPECT_EQ(edit.text().toStdString(), one.text) << one.what;
        check(edit, one.what);
    }
}

TEST(MaskEdit, WhatHasNoPlaceReplacesNothing)
{
    MaskEdit edit;
    edit.setMask("99/99/9999;1; ");
    edit.setMaskedText("24/11/2026");
    edit.selectAll();
    QTest::keyClick(&edit, 'x');
    EXPECT_EQ(edit.text(), "24/11/2026");
    EXPECT_TRUE(edit.hasSelectedText());
    QKeyEvent altGr(QEvent::KeyPress, Qt::Key_At, Qt::ControlModifier | Qt::AltModifier, "@");
    QCoreApplication::sendEvent(&edit, &altGr);
    EXPECT_EQ(edit.text(), "24/11/2026");
}

} // namespace
