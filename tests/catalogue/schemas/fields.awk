# awk -v n=N -v type=T -f fields.awk: a message of N fields of one type.
BEGIN {
  print "<catalogue><system name='A' index='8'><message name='M' id='1'>"
  for (i = 0; i < n; ++i)
    printf "<field name='f%d' type='%s'/>\n", i, type
  print "</message></system></catalogue>"
}
