xquery version "3.1";

(: Tracks with their ends, trips between places, and routes that were shared. :)
import module namespace ev = "urn:examples:evidence" at "../common/evidence.xq";

declare variable $evidence as document-node() := /;
declare variable $track-analyzer as xs:string external;

declare function local:track($file as element(source)) as element(track) {
  let $points := ev:sorted($file/record[@kind = "point"][ev:field(., "seconds")], "seconds")
  return
    <track points="{ count($points) }">{
      ev:origin($file),
      ev:attribute("from", $points[1] ! ev:field(., "seconds")),
      ev:attribute("to", $points[last()] ! ev:field(., "seconds")),
      ev:element("start", $points[1] ! ev:field(., "place")),
      ev:element("end", $points[last()] ! ev:field(., "place"))
    }</track>
};

<results kind="route">{
  ev:trees($evidence, $track-analyzer) ! local:track(.),
  for $trip in ev:records($evidence, "places_db", "trip")
  order by ev:field($trip, "started")
  return
    <trip started="{ ev:field($trip, 'started') }">{
      ev:origin($trip),
      ev:attribute("from", $trip/field[@name = "from_number"]/@ref),
      ev:attribute("to", $trip/field[@name = "to_number"]/@ref)
    }</trip>,
  for $route in ev:trees($evidence, "route_file")/route
  return
    <shared name="{ $route/@name }">{
      ev:origin($route),
      $route/stop ! <stop position="{ @lat },{ @lon }">{ string(.) }</stop>
    }</shared>
}</results>
