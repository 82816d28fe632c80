#!/bin/sh
# The schema takes the examples and refuses what misspells them: schema_test.sh SCHEMA EXAMPLES
set -eu
schema=$1 examples=$2
validate() { xmllint --noout --schema "$schema" "$@" >/dev/null 2>&1; }

validate "$examples"/*.xml || { xmllint --noout --schema "$schema" "$examples"/*.xml; exit 1; }
failures=0
refuse() {
  changed=$(sed "$1" "$examples/card.xml")
  [ "$changed" != "$(cat "$examples/card.xml")" ] || { echo "changes nothing: $1"; failures=1; }
  if printf '%s' "$changed" | validate -; then echo "not refused: $1"; failures=1; fi
}
refuse 's/segment="1"/Segment="1"/'
refuse 's/segment="1"/segment="4"/'
refuse 's/data="E2/data="2/'
refuse 's/data="E200/data="E2 00/'
refuse 's/lock_action="688800"/lock_action="0xA82A0"/'
refuse 's/lock_action="688800"/lock_action="0"/'
refuse 's/type="1" password/type="kill" password/'
refuse 's/password="5EC0DE01"/password="5EC0DE"/'
refuse 's/<printer.*//'
refuse 's/zsdk_job/zsdk_jobs/'
exit $failures
