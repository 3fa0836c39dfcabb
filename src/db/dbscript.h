#pragma once

#include <QDialog>

class QLabel;
class QPlainTextEdit;
class QPushButton;
class QTabWidget;

namespace lar {

class Sesion;

// "Base de datos": brings the company database to the schema this program
// expects. Nothing happens until the user presses bInicia; the dialog stays open
// afterwards so that the log can be read.
class TfDBScript : public QDialog
{
    Q_OBJECT

public:
    explicit TfDBScript(Sesion &sesion, QWidget *parent = nullptr);

    QPushButton *bInicia() const { return m_bInicia; }
    QPlainTextEdit *vLog() const { return m_vLog; }

public slots:
    void bIniciaClick();

private:
    void Log(const QString &linea);

    Sesion &m_s;
    QTabWidget *m_paginas = nullptr;
    QWidget *m_tabDB = nullptr;
    QLabel *m_aviso = nullptr;
    QPushButton *m_bInicia = nullptr;
    QPlainTextEdit *m_vLog = nullptr;
};

} // namespace lar
