#pragma once

#include "guardaventa.h"

#include <QList>
#include <QString>

namespace lar {

class Sesion;

// One capture of points by activity: the employee (a customer flagged as one, or an
// EMPLEADO_ID of Microsip's payroll, both go into CLIENTE_ID) and the activity lines.
struct Actividad
{
    int clienteId = 0;
    QString folio;            // FolioEmpleados, padded to 9
    QList<LineaCanje> lineas; // in grid order
};

// The save of points by activity: one LAR_PUNTOS row ('A', 'E', 'AP') per line, all
// under one IdGuia that stands in for a document, on the folio read when the screen
// opened; "Folio puntos empleados" moves on past it. No inventory is touched and the
// folio is never searched for: two saves on one folio are allowed.
class GuardaActividad
{
public:
    struct Resultado
    {
        bool ok = false;
        AvisoCanje aviso; // an expected refusal: nothing written
        QString error;    // the engine's text: everything rolled back
        int idGuia = 0;
    };

    explicit GuardaActividad(Sesion &sesion);

    // Validation, the rows and the folio in one transaction of fbUpdateTrans.
    Resultado guarda(const Actividad &actividad);

    AvisoCanje Valida(const Actividad &actividad) const;
    // The rows, inside the caller's transaction; returns IdGuia. Lines without an
    // article write nothing but keep their partida. Database errors throw.
    int GuardaPuntosActividad(const Actividad &actividad);

    // "Folio puntos empleados" padded to 9: the folio of the next capture.
    static QString FolioEmpleados(Sesion &sesion);

private:
    Sesion &m_sesion;
};

} // namespace lar
