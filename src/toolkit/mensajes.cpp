#include "mensajes.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>

namespace lar {

namespace {

ServicioMensajes::Respondedor &respondedor()
{
    static ServicioMensajes::Respondedor r;
    return r;
}

int muestraCaja(const CajaMensaje &caja)
{
    QMessageBox box;
    box.setWindowTitle(caja.titulo);
    box.setText(caja.texto);
    box.setWindowModality(Qt::ApplicationModal);
    switch (caja.icono()) {
    case mb::IconStop:
        box.setIcon(QMessageBox::Critical);
        break;
    case mb::IconQuestion:
        box.setIcon(QMessageBox::Question);
        break;
    case mb::IconWarning:
        box.setIcon(QMessageBox::Warning);
        break;
    case mb::IconInformation:
        box.setIcon(QMessageBox::Information);
        break;
    default:
        break;
    }
    struct Def
    {
        const char *texto;
        int id;
        QMessageBox::ButtonRole role;
    };
    QList<Def> defs;
    switch (caja.botones()) {
    case mb::OkCancel:
        defs = {{"Aceptar", mb::IdOk, QMessageBox::AcceptRole},
                {"Cancelar", mb::IdCancel, QMessageBox::RejectRole}};
        break;
    case mb::AbortRetryIgnore:
        defs = {{"Anular", mb::IdAbort, QMessageBox::RejectRole},
                {"Reintentar", mb::IdRetry, QMessageBox::AcceptRole},
                {"Omitir", mb::IdIgnore, QMessageBox::AcceptRole}};
        break;
    case mb::YesNoCancel:
        defs = {{"Sí", mb::IdYes, QMessageBox::YesRole},
                {"No", mb::IdNo, QMessageBox::NoRole},
                {"Cancelar", mb::IdCancel, QMessageBox::RejectRole}};
        break;
    case mb::YesNo:
        defs = {{"Sí", mb::IdYes, QMessageBox::YesRole}, {"No", mb::IdNo, QMessageBox::NoRole}};
        break;
    case mb::RetryCancel:
        defs = {{"Reintentar", mb::IdRetry, QMessageBox::AcceptRole},
                {"Cancelar", mb::IdCancel, QMessageBox::RejectRole}};
        break;
    default:
        defs = {{"Aceptar", mb::IdOk, QMessageBox::AcceptRole}};
        break;
    }
    QList<QAbstractButton *> buttons;
    for (const Def &d : defs)
        buttons << box.addButton(QString::fromUtf8(d.texto), d.role);
    const int def = std::min<int>(caja.predeterminado(), int(buttons.size())) - 1;
    if (auto *b = qobject_cast<QPushButton *>(buttons.value(def)))
        box.setDefaultButton(b);
    box.exec();
    const int pressed = int(buttons.indexOf(box.clickedButton()));
    if (pressed < 0) // closed with Escape or the close box
        return caja.botones() == mb::Ok ? mb::IdOk
                                        : (caja.botones() == mb::YesNo ? mb::IdNo : mb::IdCancel);
    return defs[pressed].id;
}

} // namespace

mb::Respuesta ServicioMensajes::muestra(const CajaMensaje &caja)
{
    if (respondedor())
        return mb::Respuesta(respondedor()(caja));
    return mb::Respuesta(muestraCaja(caja));
}

void ServicioMensajes::instalaRespondedor(Respondedor r)
{
    respondedor() = std::move(r);
}

bool ServicioMensajes::tieneRespondedor()
{
    return bool(respondedor());
}

mb::Respuesta MensajeSistema(const QString &texto, const QString &titulo, mb::Estilos icono)
{
    while (QApplication::overrideCursor())
        QApplication::restoreOverrideCursor();
    return ServicioMensajes::muestra({texto, titulo, icono | mb::SystemModal});
}

void MuestraAviso(const QString &texto, const QString &clase)
{
    if (clase == u"Aviso")
        MensajeSistema(texto, QStringLiteral("Aviso"), mb::IconInformation);
    else if (clase == u"Error")
        MensajeSistema(QStringLiteral("Error: ") + texto, QStringLiteral("Error"), mb::IconStop);
    else if (clase == u"Ex")
        MensajeSistema(QStringLiteral("Aviso: ") + texto,
                       QStringLiteral("No se puede realizar la operación"),
                       mb::IconWarning);
}

} // namespace lar
