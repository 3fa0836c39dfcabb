#pragma once

#include "mform.h"

#include "fb/database.h"
#include "fb/query.h"
#include "fb/transaction.h"

#include <QString>

class QLineEdit;
class QPushButton;
class QTimer;

namespace lar {

class Sesion;

// Opens Base, whose parameters the caller has set. On failure shows why (a bad
// login by name, other engine errors by code) and returns false; an engine error
// also rolls back fbUpdateTrans.
bool Conectar(Sesion &sesion, fb::Database &base);

// The last user who authorised something; cleared at exit.
QString &UsuarioAutoriza();

// Asks another user to log in and tells whether he holds any bit of Mascara in
// module Modulo (the administrator passes always). With SoloAdministrador only
// "SYSDBA" may be typed.
bool AutorizaUsuario(Sesion &sesion, int modulo, quint32 mascara, bool soloAdministrador);

// The second login of a session: checks another user's password against the
// session's own company database.
class TfAcceso : public TMForm
{
    Q_OBJECT
public:
    explicit TfAcceso(Sesion &sesion, QWidget *parent = nullptr);
    ~TfAcceso() override;

    QString Usuario;
    fb::Database IBLocal;
    fb::Transaction Transaction{&IBLocal};
    fb::Query Query{&IBLocal, &Transaction};

    QLineEdit *vUser;
    QLineEdit *vPass;
    QPushButton *bOk;
    QPushButton *bCancel;
    // The lock after a bad password, never started.
    QTimer *tDontUse;

    void bOkClick();

protected:
    bool eventFilter(QObject *obj, QEvent *ev) override;
    void closeEvent(QCloseEvent *ev) override;
    void showEvent(QShowEvent *ev) override;
    void reject() override;

private:
    void tDontUseTimer();
    Sesion &m_sesion;
};

} // namespace lar
