xquery version "3.1";

(: Networks that the handset joined and hosts that it talked to while it was in each. :)
import module namespace ev = "urn:examples:evidence" at "../common/evidence.xq";

declare variable $evidence as document-node() := /;

declare function local:hosts($from as xs:string?, $to as xs:string?) as element(host)* {
  for $connection in ev:records($evidence, "netstat_log", "connection")
  let $time := ev:field($connection, "time")
  where $time ge $from and (empty($to) or $time lt $to)
  group by $remote := ev:field($connection, "remote")
  return
    <host first="{ min($time) }" last="{ max($time) }" count="{ count($connection) }">{
      $remote
    }</host>
};

<results kind="network">{
  let $joined := ev:sorted(ev:records($evidence, "wifi_log", "network"), "time")
  for $network at $place in $joined
  let $from := ev:field($network, "time")
  let $to := $joined[$place + 1] ! ev:field(., "time")
  return
    <network from="{ $from }" to="{ $to }">{
      ev:attribute("id", $network/@id),
      ev:origin($network),
      ev:element("name", ev:field($network, "name")),
      local:hosts($from, $to)
    }</network>
}</results>
