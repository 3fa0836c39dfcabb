#include "dbscript.h"

#include "actualizadb.h"
#include "core/sesion.h"
#include "fb/error.h"
#include "toolkit/mensajes.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

namespace lar {

TfDBScript::TfDBScript(Sesion &sesion, QWidget *parent)
    : QDialog(parent)
    , m_s(sesion)
{
    setObjectName(QStringLiteral("fDBScript"));
    setWindowTitle(QStringLiteral("Base de datos"));
    setModal(true);
    resize(560, 420);

    m_paginas = new QTabWidget(this);
    m_paginas->setObjectName(QStringLiteral("PageControl1"));
    m_tabDB = new QWidget;
    m_tabDB->setObjectName(QStringLiteral("tabDB"));
    m_paginas->addTab(m_tabDB, QStringLiteral("Actualizar"));

    m_aviso = new QLabel(QStringLiteral("Cierre todas las otras sesiones de Microsip y Puntos "
                                        "Larvenos que tenga \nabiertas antes de actualizar la "
                                        "base de datos"),
                         m_tabDB);
    m_aviso->setObjectName(QStringLiteral("Label1"));
    m_bInicia = new QPushButton(QStringLiteral("Actualizar DB"), m_tabDB);
    m_bInicia->setObjectName(QStringLiteral("bInicia"));
    m_bInicia->setAutoDefault(false);
    m_vLog = new QPlainTextEdit(m_tabDB);
    m_vLog->setObjectName(QStringLiteral("vLog"));
    m_vLog->setReadOnly(true);
    m_vLog->setAccessibleName(QStringLiteral("Bitácora de la actualización"));

    auto *fila = new QHBoxLayout;
    fila->addWidget(m_aviso, 1);
    fila->addWidget(m_bInicia);
    auto *pagina = new QVBoxLayout(m_tabDB);
    pagina->addLayout(fila);
    pagina->addWidget(m_vLog, 1);
    auto *todo = new QVBoxLayout(this);
    todo->addWidget(m_paginas);

    connect(m_bInicia, &QPushButton::clicked, this, &TfDBScript::bIniciaClick);
}

void TfDBScript::Log(const QString &linea)
{
    m_vLog->appendPlainText(linea);
    // A long script must not freeze the memo.
    QCoreApplication::processEvents();
}

void TfDBScript::bIniciaClick()
{
    ActualizaDB actualiza(m_s);
    actualiza.setBitacora([this](const QString &linea) { Log(linea); });
    bool espera = false;
    try {
        if (!actualiza.versionAceptada())
            return;
        QApplication::setOverrideCursor(Qt::WaitCursor);
        espera = true;
        m_bInicia->setEnabled(false);
        actualiza.ejecuta();
    } catch (const std::exception &e) {
        const auto *fe = dynamic_cast<const fb::Error *>(&e);
        m_bInicia->setEnabled(true);
        if (espera)
            QApplication::restoreOverrideCursor();
        espera = false;
        MensajeSistema(fe ? fe->message() : QString::fromLocal8Bit(e.what()),
                       QStringLiteral("Error"),
                       mb::IconStop);
    }
    m_bInicia->setEnabled(true);
    if (espera)
        QApplication::restoreOverrideCursor();
}

} // namespace lar
