#pragma once

// The cashier's side of the points captures (redemption and activity forms): typing
// into the grid, the print dialog, and the voucher form printed to a file.

#include "tiendacanje.h"

#include "points/ventaspuntos.h"

#include "reports/formas.h"
#include "reports/imprimirforma.h"
#include "support/guionmensajes.h"
#include "support/testenv.h"
#include "toolkit/memgrid.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>

// No message box came up; else the test fails with their texts.
#define LAR_SIN_CAJAS(guion) \
    QVERIFY2((guion).cajas().isEmpty(), qPrintable((guion).textos().join(u'|')))

namespace lartest {

// Types into a cell's editor and presses Enter, as the cashier does.
inline void escribe(lar::CapturaPuntos &f, int col, const QString &texto)
{
    lar::MemGrid *g = f.cxGrid;
    const QModelIndex i = g->model()->index(f.mDet->recNo(), col);
    g->setCurrentIndex(i);
    g->edit(i);
    auto *editor = qobject_cast<QLineEdit *>(QApplication::focusWidget());
    QVERIFY(editor);
    editor->selectAll();
    QTest::keyClicks(editor, texto);
    QTest::keyClick(editor, Qt::Key_Return);
    QTest::qWait(1);
    QCoreApplication::processEvents();
}

// Answers each print dialog that comes up, noting what it was given, and prints to
// a file (a spreadsheet in the documents folder) or cancels.
struct Impresion
{
    QString documento;
    int docto = -1, folder = -1, copias = -1, resultado = -1, veces = 0;
    QTimer timer;
    explicit Impresion(bool imprimir = false)
    {
        QObject::connect(&timer, &QTimer::timeout, [this, imprimir] {
            auto *d = qobject_cast<lar::TfImprimirForma *>(QApplication::activeModalWidget());
            if (!d)
                return;
            ++veces;
            documento = d->Documento;
            docto = d->DoctoId;
            folder = d->FolderId;
            copias = d->Copias;
            if (imprimir) {
                d->findChild<QCheckBox *>(QStringLiteral("vPrintToFile"))->setChecked(true);
                d->findChild<QPushButton *>(QStringLiteral("bPrint"))->click();
            }
            if (d->isVisible())
                d->reject();
            resultado = d->result();
        });
        timer.start(20);
    }
};

// The voucher form installed and remembered for the user, printed to a file under
// a HOME of the test's own; returns that HOME.
inline QString preparaVale(Tienda &t)
{
    lar::InstalaFormasMuestra(t.s.fbConfig());
    lar::RecuerdaForma(
        t.s, QStringLiteral("Puntos"), QStringLiteral("Ventas"), QStringLiteral("Vale de canje"));
    const QString casa = tempPath(QStringLiteral("casa"));
    QDir().mkpath(casa);
    qputenv("HOME", casa.toUtf8());
    qputenv("XDG_CONFIG_HOME", (casa + QStringLiteral("/.config")).toUtf8());
    return casa;
}

// Shows a capture form and waits until it is the active window.
template<class Forma>
void muestra(Forma &f)
{
    f.show();
    f.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&f));
}

} // namespace lartest
