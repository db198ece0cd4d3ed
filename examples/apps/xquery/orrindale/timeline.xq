xquery version "3.1";

(: All logs as one line of time. :)
import module namespace ev = "urn:examples:evidence" at "../common/evidence.xq";

declare variable $evidence as document-node() := /;
declare variable $log-folder as xs:string external;
declare variable $screenshot-folder as xs:string external;

declare function local:event($time as xs:string?, $kind as xs:string, $text as xs:string?,
    $item as element()) as element(event)? {
  if (empty($time)) then ()
  else <event time="{ $time }" kind="{ $kind }">{ ev:origin($item), $text }</event>
};

let $events := (
  for $line in ev:trees($evidence, "event_log")//line
  return local:event($line/@time, "event", string($line), $line),

  for $notice in ev:records($evidence, "notifications", "notification")
  let $text := string-join((ev:field($notice, "package"), ev:field($notice, "title")), ": ")
  return local:event(ev:field($notice, "time"), "notification", $text, $notice),

  for $line in ev:records($evidence, "user_log", "line")
  let $shot := ev:field($line, "screenshot") ! concat("[", $screenshot-folder, "/", ., "]")
  let $text := string-join((ev:field($line, "text"), $shot), " ")
  return local:event(ev:field($line, "time"), "user", $text, $line),

  for $idle in ev:records($evidence, "idle_log", "idle")
  return (
    local:event(ev:field($idle, "from"), "idle", "left alone", $idle),
    local:event(ev:field($idle, "to"), "idle", "taken up again", $idle)
  ),

  for $position in ev:records($evidence, "positions", "position")
  return local:event(ev:field($position, "time"), "position", ev:field($position, "place"),
    $position)
)
return
  <results kind="event" folder="{ $log-folder }">{
    for $event in $events
    order by $event/@time
    return $event
  }</results>
