xquery version "3.1";

(: Messages of files and database; one that stands in both is told once, from the database. :)
import module namespace ev = "urn:examples:evidence" at "../common/evidence.xq";

declare variable $evidence as document-node() := /;
declare variable $own-pin as xs:string external;

declare function local:message($item as element(), $time as xs:string?, $pin as xs:string?,
    $text as xs:string?) as element(message) {
  <message direction="{ if (ends-with($pin, $own-pin)) then 'out' else 'in' }">{
    ev:attribute("time", $time),
    ev:attribute("from", $pin),
    ev:origin($item),
    $text
  }</message>
};

let $stored :=
  for $record in ev:records($evidence, "chat_db", "Messages")
  return local:message($record, ev:field($record, "Time"), $record/field[@name = "Pin"]/@ref,
    ev:field($record, "Body"))
let $filed :=
  for $line in ev:trees($evidence, "chat_files")//line
  return local:message($line, $line/@time, $line/@ref, string($line))
let $known := $stored ! concat(@time, " ", @from)
return
  <results kind="message">{
    for $message in ($stored, $filed[not(concat(@time, " ", @from) = $known)])
    order by $message/@time
    return $message
  }</results>
