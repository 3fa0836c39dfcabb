#include "avisos.h"

#include "core/fmain.h"
#include "core/ids.h"
#include "core/navegacion.h"
#include "core/registro.h"
#include "core/sesion.h"
#include "fb/query.h"
#include "fb/transaction.h"
#include "toolkit/mensajes.h"

#include <stdexcept>

namespace lar {

namespace {

const QString Asunto = QStringLiteral("Sus puntos Larvenos estan a punto de vencer.");

} // namespace

bool ProgramaReinicio::enVentana(const QDateTime &ahora) const
{
    return activo && aviso.startOfDay() < ahora && fecha.startOfDay() > ahora;
}

bool ProgramaReinicio::vencido(const QDateTime &ahora) const
{
    return activo && !(fecha.startOfDay() > ahora);
}

QString FechaAviso(const QDate &fecha)
{
    static const char16_t *const meses[] = {u"Ene",
                                            u"Feb",
                                            u"Mar",
                                            u"Abr",
                                            u"May",
                                            u"Jun",
                                            u"Jul",
                                            u"Ago",
                                            u"Sep",
                                            u"Oct",
                                            u"Nov",
                                            u"Dic"};
    if (!fecha.isValid())
        return QString();
    return QStringLiteral("%1/%2/%3")
        .arg(fecha.day(), 2, 10, QChar(u'0'))
        .arg(QString::fromUtf16(meses[fecha.month() - 1]))
        .arg(fecha.year());
}

AvisosReinicio::AvisosReinicio(Sesion &sesion)
    : m_sesion(sesion)
{}

ProgramaReinicio AvisosReinicio::leePrograma()
{
    ProgramaReinicio p;
    bool numero = false;
    const int dias
        = LeeRegistro(m_sesion, QStringLiteral("Dias antes del reinicio para enviar correo"))
              .trimmed()
              .toInt(&numero);
    p.dias = numero ? dias : 0;
    if (LeeRegistro(m_sesion, QStringLiteral("Reiniciar Puntos Automaticamente")).trimmed()
        != QStringLiteral("S"))
        return p;
    const QString texto
        = LeeRegistro(m_sesion, QStringLiteral("Fecha establecida para el reinicio")).trimmed();
    if (texto.isEmpty())
        return p;
    p.fecha = FechaReinicioDeTexto(texto);
    if (!p.fecha.isValid()) {
        p.fechaInvalida = texto;
        return p;
    }
    p.aviso = p.fecha.addDays(-p.dias);
    p.activo = true;
    return p;
}

std::vector<FilaCorreo> AvisosReinicio::listaCorreos(const QDate &fecha)
{
    std::vector<FilaCorreo> lista;
    fb::TransactionGuard guardia(m_sesion.fbUpdateTrans());
    fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
    q.setTrimChars(true);
    q.setSql(QStringLiteral(
        "Select distinct ep.Cliente_ID,c.Nombre, (SELECT SUM(CASE WHEN naturaleza='E' THEN "
        "valor_puntos else -valor_puntos END) FROM lar_puntos WHERE tipo_docto<>'X' and "
        "cliente_id=ep.Cliente_ID) as puntos ,dc.Email From Lar_Puntos ep Join Dirs_Clientes dc "
        "on dc.CLIENTE_ID=ep.Cliente_ID Join Clientes c on c.CLIENTE_ID=ep.Cliente_ID Where "
        "((Select count (*) From LAR_AVISO_REINICIO where CLIENTE_ID=ep.Cliente_ID and "
        "Fecha_Reinicio=:FechaReinicio )=0) and dc.Email is not null and dc.Email<>'' Order by "
        "c.Nombre"));
    q.bind(QStringLiteral("FechaReinicio"), fecha);
    q.open();
    while (!q.eof()) {
        // A row without balance moves the cursor on, and the row it lands on is
        // taken as it is: two such rows in a row let the second one through.
        if (q.field(2).toInt() < 1) {
            q.next();
            if (q.eof())
                break;
        }
        FilaCorreo f;
        f.IDC = q.field(0).toInt();
        f.NombreCliente = q.field(1).toTrimmed();
        f.Puntos = q.field(2).isNull() ? QString() : QString::number(q.field(2).toInt());
        f.Email = q.field(3).toTrimmed();
        lista.push_back(f);
        q.next();
    }
    q.close();
    guardia.commit();
    return lista;
}

AvisoCorreo AvisosReinicio::preparaAviso(const QString &email,
                                         const QString &nombre,
                                         const QString &puntos,
                                         const QDate &fecha)
{
    AvisoCorreo a;
    try {
        const QString remitente = LeeRegistro(m_sesion, QStringLiteral("CorreoRem")).trimmed();
        a.cuenta.usuario = remitente;
        a.cuenta.password = LeeRegistro(m_sesion, QStringLiteral("Password"));
        a.cuenta.host = LeeRegistro(m_sesion, QStringLiteral("Host")).trimmed();
        a.cuenta.puerto = LeeRegistro(m_sesion, QStringLiteral("Puerto")).trimmed().toInt();
        if (remitente.isEmpty() && !email.trimmed().isEmpty())
            GuardaLog(QStringLiteral("Verifique los correos de remitente y destino."));
        a.destino = email.trimmed().isEmpty() ? remitente : email;

        fb::TransactionGuard guardia(m_sesion.fbUpdateTrans());
        fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
        q.setSql(QStringLiteral("select Valor from registry where padre_id=(select elemento_id "
                                "from registry where padre_id=0 and nombre='DatosEmpresa') and "
                                "nombre='Nombre'"));
        q.open();
        const QString empresa = q.eof() ? QString() : q.field(0).toTrimmed();
        q.close();
        guardia.commit();

        a.mensaje.de = remitente;
        a.mensaje.para = Correo::destinatarios(a.destino);
        a.mensaje.asunto = Asunto;
        a.mensaje.cuerpo = QStringLiteral("Estimado ") + nombre + QStringLiteral(" cliente de ")
                           + empresa + QStringLiteral(" su saldo de ") + puntos
                           + QStringLiteral(" puntos esta a punto de expirar, uselos antes de ")
                           + FechaAviso(fecha)
                           + QStringLiteral(".Este correo fue enviado automáticamente, por "
                                            "favor, no conteste este mensaje.");
    } catch (const std::exception &e) {
        if (!email.isEmpty())
            throw std::runtime_error(
                (QStringLiteral("Error al crear archivo PDF:\n") + TextoExcepcion(e))
                    .toUtf8()
                    .toStdString());
        a.mensaje.para.clear();
    }
    return a;
}

bool AvisosReinicio::enviaAviso(const AvisoCorreo &aviso)
{
    const Correo::Resultado r = Correo(aviso.cuenta).envia(aviso.mensaje);
    if (!r.conectado) {
        GuardaLog(QStringLiteral("Error al conectar con el servidor.") + r.errorConexion);
        return false;
    }
    if (!r.errorEnvio.isEmpty()) {
        GuardaLog(QStringLiteral("Error al enviar el mensaje: ") + r.errorEnvio);
        return true;
    }
    GuardaLog(QStringLiteral("=-=-=-=- Correo enviado correctamente a ") + aviso.destino
              + QStringLiteral(" =-=-=-= "));
    return true;
}

bool AvisosReinicio::EnviaAvisoReinicio(const QString &email,
                                        const QString &nombre,
                                        const QString &puntos,
                                        const QDate &fecha)
{
    return enviaAviso(preparaAviso(email, nombre, puntos, fecha));
}

void AvisosReinicio::registraAviso(const FilaCorreo &fila, const ProgramaReinicio &programa)
{
    fb::TransactionGuard guardia(m_sesion.fbUpdateTrans());
    fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
    q.setSql(QStringLiteral(
        "Insert into Lar_Aviso_Reinicio "
        "(ID_REINICIO,CLIENTE_ID,CORREO,FECHA_REINICIO,FECHA_ENVIO_EMAIL,FECHA_AVISO,PUNTOS_"
        "REINICIADOS) Values "
        "(-1,:CLIENTE_ID,:CORREO,:FECHA_REINICIO,Current_date,:FECHA_AVISO,:PUNTOS_REINICIADOS) "
        " "));
    q.bind(QStringLiteral("CLIENTE_ID"), fila.IDC);
    q.bind(QStringLiteral("CORREO"), fila.Email);
    q.bind(QStringLiteral("FECHA_REINICIO"), programa.fecha);
    q.bind(QStringLiteral("FECHA_AVISO"), programa.aviso);
    q.bind(QStringLiteral("PUNTOS_REINICIADOS"),
           fila.Puntos.isEmpty() ? QVariant() : QVariant(fila.Puntos.toInt()));
    q.execute();
    guardia.commit();
}

bool AvisosReinicio::reinicioHecho(const QDate &fecha)
{
    fb::TransactionGuard guardia(m_sesion.fbUpdateTrans());
    fb::Query q(&m_sesion.fbDatabase(), &m_sesion.fbUpdateTrans());
    q.setSql(QStringLiteral("Select ID_REINICIO_PUNTOS From LAR_REINICIO_PUNTOS Where "
                            "FECHA_PROGRAMADA=:FECHA_PROGRAMADA"));
    q.bind(QStringLiteral("FECHA_PROGRAMADA"), fecha);
    q.open();
    const bool hecho = !q.eof();
    q.close();
    guardia.commit();
    return hecho;
}

ReinicioPuntos::Resultado AvisosReinicio::ReiniciaPuntos(const QDate &fecha)
{
    ReinicioPuntos::Opciones op;
    op.fechaProgramada = fecha;
    return ReinicioPuntos(m_sesion).ejecuta(op);
}

AvisosReinicio::Revision AvisosReinicio::RevisaReinicio(const QDateTime &ahora, const Envio &envio)
{
    Revision r;
    mCorreos.clear();
    const ProgramaReinicio programa = leePrograma();
    if (!programa.fechaInvalida.isEmpty()) {
        r.errorAvisos = QStringLiteral("La fecha establecida para el reinicio no es válida: ")
                        + programa.fechaInvalida;
        return r;
    }
    if (!programa.activo)
        return r;

    if (programa.enVentana(ahora)) {
        try {
            mCorreos = listaCorreos(programa.fecha);
            const int total = int(mCorreos.size());
            for (int i = 0; i < total; ++i) {
                const FilaCorreo &f = mCorreos[size_t(i)];
                const AvisoCorreo aviso
                    = preparaAviso(f.Email, f.NombreCliente, f.Puntos, programa.fecha);
                const bool enviado = envio ? envio(aviso, i, total) : enviaAviso(aviso);
                if (enviado) {
                    registraAviso(f, programa);
                    ++r.avisosEnviados;
                }
            }
        } catch (const std::exception &e) {
            r.errorAvisos = QStringLiteral("Error\n") + TextoExcepcion(e);
        }
    }

    if (!programa.vencido(ahora) || reinicioHecho(programa.fecha))
        return r;
    r.reinicioIntentado = true;
    r.reinicio = ReiniciaPuntos(programa.fecha);
    return r;
}

void RevisaReinicio(TfMain &main)
{
    AvisosReinicio avisos(main.sesion());
    const AvisosReinicio::Revision r = avisos.RevisaReinicio(
        QDateTime::currentDateTime(), [&main](const AvisoCorreo &aviso, int indice, int total) {
            bool enviado = false;
            main.EjecutaConProgreso(
                QStringLiteral("Enviando avisos de reinicio de puntos: %1 de %2")
                    .arg(indice + 1)
                    .arg(total),
                indice,
                total,
                [&] { enviado = AvisosReinicio::enviaAviso(aviso); });
            return enviado;
        });
    main.TerminaProgreso();
    if (!r.errorAvisos.isEmpty())
        MensajeSistema(r.errorAvisos, QStringLiteral("Aviso del sistema"), mb::IconWarning);
    if (!r.reinicioIntentado)
        return;
    if (r.reinicio.ok)
        MensajeSistema(QStringLiteral("Se inicializaron los puntos."),
                       QStringLiteral("Aviso del sistema"),
                       mb::IconInformation);
    else
        MensajeSistema(r.reinicio.error, QStringLiteral("Error"), mb::IconStop);
}

} // namespace lar
