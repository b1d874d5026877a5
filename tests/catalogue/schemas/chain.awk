# awk -v classes=N [-v fields=M] [-v ring=1] -f chain.awk: messages that each hold the next one, M times over; in a ring
# the last one holds the first.
BEGIN {
  fields = fields ? fields : 1
  print "<catalogue><system name='A' index='1'>"
  for (i = 0; i < classes; ++i) {
    printf "<message name='M%d' id='%d'>", i, i + 1
    for (f = 0; f < fields && (ring || i + 1 < classes); ++f)
      printf "<field name='f%d' type='object' class='A_M%d'/>", f, (i + 1) % classes
    print "</message>"
  }
  print "</system></catalogue>"
}
