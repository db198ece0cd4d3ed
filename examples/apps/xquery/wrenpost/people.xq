xquery version "3.1";

(: Everyone known to the app, from its provider and from exported cards. :)
import module namespace ev = "urn:examples:evidence" at "../common/evidence.xq";

declare variable $evidence as document-node() := /;

let $provided := ev:records($evidence, "ContentProviderContactsAnalyzer", "person")
let $exported := ev:records($evidence, "exported_cards", "card")
let $usage := ev:records($evidence, "usage", "usage")
return
  <results kind="contact">{
    for $person in ($provided, $exported)
    group by $id := string($person/@id)
    let $use := $usage[field[@name = "address"]/@ref = $id]
    order by $id
    return
      <contact id="{ $id }">{
        for $name in distinct-values($person ! (ev:field(., "name"), ev:field(., "fn")))
        return <name>{ $name }</name>,
        for $phone in distinct-values($person ! (ev:field(., "phone"), ev:field(., "tel")))
        return <phone>{ $phone }</phone>,
        ev:element("written-to", string-join(sort($use ! ev:field(., "count")), ", ")),
        ev:element("last-used", max($use ! ev:field(., "last_used")))
      }</contact>
  }</results>
