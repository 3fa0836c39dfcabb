#pragma once

// What keeps a screen from being used without a mouse or through assistive
// technology. Every later screen's test can call it on its form:
//
//     LAR_VERIFICA_ACCESIBLE(&forma);

#include <QStringList>

class QWidget;

namespace lartest {

// One line per fault, naming the control: an input or command that Tab never
// reaches, or a control that takes the focus and is exposed with no role of its
// own (a bare "client") or without a name. Controls hidden for good are left out.
QStringList problemasAccesibles(QWidget *forma);

} // namespace lartest

// Fails the Qt Test case with the list of faults of the form.
#define LAR_VERIFICA_ACCESIBLE(forma) \
    do { \
        const QStringList problemas_ = lartest::problemasAccesibles(forma); \
        QVERIFY2(problemas_.isEmpty(), qPrintable(problemas_.join(u'\n'))); \
    } while (false)
