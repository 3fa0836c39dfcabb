#pragma once

#include "conexiones.h"

#include "fb/query.h"

#include <QDialog>
#include <QDomDocument>
#include <QDomElement>
#include <QString>

#include <memory>

class QComboBox;
class QLineEdit;
class QListWidget;
class QPushButton;

namespace fb {
class Database;
}

namespace lar {

class Sesion;

// The company choice: Microsip's companies the user may enter.
class TfEmpresas : public QDialog
{
    Q_OBJECT
public:
    explicit TfEmpresas(QWidget *parent = nullptr);

    QListWidget *vEmpresas;
    QPushButton *bOk;
    QPushButton *Button2;
    // The company to preselect.
    QString Preseleccion;

protected:
    void showEvent(QShowEvent *ev) override;
    bool eventFilter(QObject *obj, QEvent *ev) override;
};

// The login dialog: Microsip's connection profiles, user and password. On Accept
// it connects the configuration database, lets the user choose the company,
// connects the company and metadata databases and remembers the last user,
// connection and company where Microsip keeps them.
class TfConecta : public QDialog
{
    Q_OBJECT
public:
    explicit TfConecta(Sesion &sesion, QWidget *parent = nullptr);
    ~TfConecta() override;

    QLineEdit *vUsuario;
    QComboBox *vConexiones;
    QLineEdit *vPass;
    QPushButton *bOk;
    QPushButton *bCancel;
    fb::Query Query;

    // The user name as typed without blanks, carriage returns or line feeds.
    QString Usuario;
    int EmpresaId = 0;
    QString EmpresaNombre;
    QString XmlUsuario;
    QString XmlComun;
    bool UsaXml = false;
    std::unique_ptr<QDomDocument> Xml;
    QDomElement NodoBarra;

    void bOkClick();
    bool ConectaBase(fb::Database &base, bool esMetadatos);
    void GuardaUltimos();
    // The Path of the selected connection, empty when there is none.
    QString PathSeleccionado() const;

protected:
    void showEvent(QShowEvent *ev) override;
    bool eventFilter(QObject *obj, QEvent *ev) override;

private:
    void FormShow();
    void vUsuarioChange();
    void agregaConexion(const Conexion &c);
    Sesion &m_sesion;
    bool m_mostrado = false;
};

} // namespace lar
