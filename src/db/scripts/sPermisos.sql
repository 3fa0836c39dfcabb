/* Puntos Larvenos: rights of Microsip's users, through their role, on the
   extension. The reset records (LAR_AVISO_REINICIO, LAR_REINICIO_PUNTOS) are
   left to the owner on purpose. */

grant all on lar_permisos to usuario_microsip;
grant all on lar_menubotondef to usuario_microsip;
grant all on lar_menubotones to usuario_microsip;
grant all on lar_menusistema to usuario_microsip;
grant all on lar_registro to usuario_microsip;
grant all on LAR_PUNTOS to usuario_microsip;
grant all on lar_reporte_cliente to usuario_microsip;
grant all on LAR_REPORTES to usuario_microsip;
grant all on LAR_DATOSCLTE to usuario_microsip;
grant all on lar_puntoslineas to usuario_microsip;

grant execute on procedure LAR_CALC_ARTALM to usuario_microsip;
grant execute on procedure LAR_CALC_DISP_ARTALM to usuario_microsip;
grant execute on procedure LAR_CALC_ARTALM1 to usuario_microsip;
grant execute on procedure LAR_EXISTARTS to usuario_microsip;
grant execute on procedure LAR_EXIS_TOTAVTA to usuario_microsip;
grant execute on procedure CALC_ACUMS_ARTALM to usuario_microsip;
grant execute on procedure LAR_GET_MOVTOS_VENTA_VEN_VE to usuario_microsip;

grant usage on sequence GEN_LAR_PUNTOS to usuario_microsip;
grant usage on sequence GEN_LAR_REGISTRO to usuario_microsip;

COMMIT WORK;
