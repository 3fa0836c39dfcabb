#pragma once
// Helpers of the suites that print, export or lay out documents: the text of a PDF
// as poppler's pdftotext reads it, the texts of a laid-out document's elements, the
// jobs of the private print queue of scripts/cupsd, and the save dialog answered.

#include "toolkit/reporte/documento.h"

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QMap>
#include <QProcess>
#include <QStringList>
#include <QTest>
#include <QTimer>

namespace lartest {

inline QString textoPdf(const QString &ruta)
{
    QProcess p;
    p.start(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), ruta, QStringLiteral("-")});
    p.waitForFinished(60000);
    return QString::fromUtf8(p.readAllStandardOutput());
}

// The texts of the primitives of an element, on every page, in order.
inline QStringList textosDe(const lar::reporte::Documento &d, const QString &elemento)
{
    QStringList t;
    for (const lar::reporte::Hoja &h : d.hojas) {
        for (const lar::reporte::Primitiva &p : h.primitivas) {
            if (p.elemento == elemento)
                t << p.texto;
        }
    }
    return t;
}

inline const char *const kSinCups
    = "CUPS_SERVER no está definido: falta la cola privada de scripts/cupsd "
      "(scripts/run-tests la arranca)";

// The queue's jobs, as id -> the lines of their .info file (job, user, title,
// copies, options); each job's data is datosTrabajo(id), complete with its .info.
inline QMap<int, QStringList> trabajosCola()
{
    QMap<int, QStringList> t;
    const QDir d(qEnvironmentVariable("LAR_CUPS_TRABAJOS"));
    for (const QFileInfo &fi : d.entryInfoList({QStringLiteral("*.info")}, QDir::Files)) {
        QFile f(fi.filePath());
        if (f.open(QIODevice::ReadOnly))
            t.insert(fi.completeBaseName().section(u'-', 1).toInt(),
                     QString::fromUtf8(f.readAll()).split(u'\n'));
    }
    return t;
}

inline QString datosTrabajo(int id)
{
    return qEnvironmentVariable("LAR_CUPS_TRABAJOS") + QStringLiteral("/trabajo-%1").arg(id);
}

// Waits for n jobs after those in `antes` and for the queue to be idle again;
// the new jobs' ids in order (the caller checks how many came).
inline QList<int> esperaTrabajos(const QMap<int, QStringList> &antes, int n)
{
    QList<int> nuevos;
    auto llegaron = [&] {
        nuevos.clear();
        const QMap<int, QStringList> ahora = trabajosCola();
        for (auto it = ahora.cbegin(); it != ahora.cend(); ++it) {
            if (!antes.contains(it.key()))
                nuevos << it.key();
        }
        return nuevos.size() >= n;
    };
    auto inactiva = [] {
        QProcess p;
        p.start(QStringLiteral("lpstat"), {QStringLiteral("-o")});
        return p.waitForFinished() && p.readAllStandardOutput().trimmed().isEmpty();
    };
    if (QTest::qWaitFor(llegaron, 30000) && !QTest::qWaitFor(inactiva, 30000))
        qWarning("La cola de impresión no terminó sus trabajos");
    llegaron();
    return nuevos;
}

// Answers the next modal save dialog with a file name, or cancels it when the name
// is empty; hands over the dialog's filters and default suffix.
inline void
eligeEnDialogo(const QString &nombre, QStringList *filtros = nullptr, QString *extension = nullptr)
{
    QTimer::singleShot(0, [=] {
        auto *d = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
        QVERIFY(d);
        if (filtros)
            *filtros = d->nameFilters();
        if (extension)
            *extension = d->defaultSuffix();
        if (nombre.isEmpty()) {
            d->reject();
            return;
        }
        // Typed as a user does: the previous export's file may still be selected.
        auto *nombreEdit = d->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
        QVERIFY(nombreEdit);
        nombreEdit->setText(nombre);
        QMetaObject::invokeMethod(d, "accept"); // protected: as the Save button does
    });
}

} // namespace lartest
