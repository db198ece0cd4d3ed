xquery version "3.1";

(: Activities of the database, and those that never left the watch. :)
import module namespace ev = "urn:examples:evidence" at "../common/evidence.xq";

declare variable $evidence as document-node() := /;
declare variable $watch-analyzer as xs:string external;

declare function local:heart($activity as element(record)) as element(heart-rate)? {
  let $rates := tokenize(ev:field($activity, "heart_rates"), " ") ! xs:integer(.)
  let $measured := $rates[. ge 0]
  return
    if (empty($measured)) then ()
    else
      <heart-rate least="{ min($measured) }" most="{ max($measured) }">{
        round(avg($measured))
      }</heart-rate>
};

<results kind="activity">{
  let $activities := ev:records($evidence, "activity_db", "activity")
  let $exports := ev:trees($evidence, "exported")
  return (
    for $activity in $activities
    order by ev:field($activity, "started")
    return
      <activity sport="{ ev:field($activity, 'sport') }">{
        ev:attribute("id", $activity/@id),
        ev:origin($activity),
        ev:element("started", ev:field($activity, "started")),
        ev:element("kilometres", ev:field($activity, "kilometres")),
        local:heart($activity),
        ev:element("way", ev:field($activity, "positions")),
        for $export in $exports[.//@ref = $activity/@id]
        return <exported file="{ $export/@path }"/>
      }</activity>,
    for $file in ev:trees($evidence, $watch-analyzer)
    where not(ev:node($file, "uuid") = $activities ! ev:field(., "uuid"))
    return
      <activity sport="{ ev:node($file, 'sport') }" pending="true">{
        ev:origin($file),
        ev:element("started", ev:node($file, "started")),
        ev:element("way", ev:node($file, "track"))
      }</activity>
  )
}</results>
